#include "tests/http/hls_viewer.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/system/places.h"

namespace kinora::test {
namespace {

namespace fs = std::filesystem;

// The part of an address behind the host.
std::string TargetOf(const std::string& address) {
  const size_t host = address.find("://");
  if (host == std::string::npos) return address;
  return address.substr(address.find('/', host + 3));
}

}  // namespace

Playlist ParsePlaylist(const std::string& text) {
  static constexpr char kUri[] = "URI=\"";
  static constexpr char kDuration[] = "#EXTINF:";
  Playlist playlist{text, {}, {}, {}};
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    if (line.starts_with(kDuration))
      playlist.durations.push_back(std::stod(line.substr(sizeof kDuration - 1)));
    if (line[0] != '#') playlist.addresses.push_back(line);
    const size_t uri = line.find(kUri);
    if (!line.starts_with("#EXT-X-MEDIA:") || uri == std::string::npos) continue;
    const size_t start = uri + sizeof kUri - 1;
    playlist.renditions.push_back(line.substr(start, line.find('"', start) - start));
  }
  return playlist;
}

fs::path HlsStream::Folder() const { return fs::path(system::kWorkspace) / "HLS" / id; }

Reply HlsViewer::TryToOpen(const std::string& film, const Parameters& parameters) const {
  Parameters all = parameters;
  all["id"] = std::to_string(house_.FilmId(who_, film));
  return house_.Send({"Stream", "open", all, "POST", who_.sid, who_.token});
}

HlsStream HlsViewer::Open(const std::string& film, const std::string& format) const {
  const Reply reply = TryToOpen(film, {{"format", format}});
  if (reply.status != 200) throw std::runtime_error("cannot open: " + reply.body + house_.Log());
  const Json::Value result = ParseJson(reply.body)["result"];
  return {result["stream_id"].asString(), result["format"].asString()};
}

Reply HlsViewer::Close(const HlsStream& stream) const {
  return house_.Send(
      {"Stream", "close", {{"id", stream.id}, {"format", stream.format}}, "POST", who_.sid, who_.token});
}

std::string HlsViewer::Address(const HlsStream& stream, const Parameters& parameters) const {
  Parameters all = {{"api", "CRVN.Kinora2.Stream"}, {"method", "stream"}, {"version", "1"},
                    {"format", stream.format},      {"_sid", who_.sid},   {"id", stream.id}};
  for (const auto& [name, value] : parameters) all[name] = value;
  std::erase_if(all, [](const auto& parameter) { return parameter.second.empty(); });
  return "/webapi/entry.cgi?" + Encode(all);
}

Reply HlsViewer::Get(const std::string& address, const std::vector<std::string>& headers,
                     const std::string& verb) const {
  return Fetch(house_.Port(), verb, TargetOf(address), headers);
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

std::vector<pid_t> ProcessesIn(const fs::path& folder) {
  const auto holds = [&](const fs::path& process) {
    std::error_code error;  // it may end while it is looked at
    for (fs::directory_iterator number(process / "fd", error), end; !error && number != end;
         number.increment(error)) {
      std::error_code closed;
      if (fs::read_symlink(number->path(), closed).string().starts_with(folder.string())) return true;
    }
    return false;
  };
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") == std::string::npos && holds(entry.path()))
      found.push_back(std::stoi(name));
  }
  return found;
}

std::vector<pid_t> EncodersIn(const fs::path& folder) {
  std::vector<pid_t> found = ProcessesIn(folder);
  std::erase_if(found, [](pid_t pid) {
    std::string program;
    std::ifstream("/proc/" + std::to_string(pid) + "/comm") >> program;
    return program != "ffmpeg";
  });
  return found;
}

size_t CountStreams() {
  const fs::path folder = fs::path(system::kWorkspace) / "HLS";
  size_t count = 0;
  if (!fs::exists(folder)) return 0;
  for (const auto& entry : fs::directory_iterator(folder)) count += entry.is_symlink() ? 1 : 0;
  return count;
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
