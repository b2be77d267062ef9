#include "tests/http/hls_viewer.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kinora::test {
namespace fs = std::filesystem;

Playlist ParsePlaylist(const std::string& text) {
  static constexpr char kUri[] = "URI=\"";
  static constexpr char kDuration[] = "#EXTINF:";
  Playlist playlist{text, {}, {}, {}, {}};
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    if (line.starts_with(kDuration))
      playlist.durations.push_back(std::stod(line.substr(sizeof kDuration - 1)));
    if (line[0] != '#') playlist.addresses.push_back(line);
    const size_t uri = line.find(kUri);
    if (!line.starts_with("#EXT-X-MEDIA:") || uri == std::string::npos) continue;
    const size_t start = uri + sizeof kUri - 1;
    const bool is_subtitle = line.starts_with("#EXT-X-MEDIA:TYPE=SUBTITLES,");
    std::vector<std::string>& list = is_subtitle ? playlist.subtitles : playlist.renditions;
    list.push_back(line.substr(start, line.find('"', start) - start));
  }
  return playlist;
}

Playlist HlsViewer::GetPlaylist(const std::string& address) const {
  const Reply reply = Get(address);
  if (reply.status != 200) throw std::runtime_error("no playlist: " + reply.body + house_.Log());
  return ParsePlaylist(reply.body);
}

std::vector<Playlist> HlsViewer::MediaPlaylists(const HlsStream& stream) const {
  const Playlist master = GetPlaylist(Address(stream, {}));
  std::vector<Playlist> all;
  for (const std::string& address : master.addresses) all.push_back(GetPlaylist(address));
  for (const std::string& address : master.renditions) all.push_back(GetPlaylist(address));
  return all;
}

std::vector<FragmentTrack> TracksOf(const std::string& fragment) {
  std::string name = fs::temp_directory_path() / "fragment-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder");
  const fs::path folder = name;
  std::ofstream(folder / "x.ts", std::ios::binary) << fragment;
  Process probe({"/usr/bin/ffprobe", "-v", "error", "-show_entries", "stream=codec_name,start_time", "-of",
                 "default=nokey=1:noprint_wrappers=1", folder / "x.ts"},
                folder / "out", folder / "err");
  const bool done = probe.Wait() == 0;
  std::ifstream lines(folder / "out");
  std::vector<FragmentTrack> tracks;
  for (FragmentTrack track; done && lines >> track.codec >> track.start;) tracks.push_back(track);
  fs::remove_all(folder);
  return tracks;
}

}  // namespace kinora::test
