// Somebody who watches a stream by HTTP Live Streaming: reads playlists, follows their addresses. Like a cast
// device it has no cookie; what it may do stands in the addresses.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/http/house.h"

namespace kinora::test {

struct Playlist {
  std::string text;
  std::vector<std::string> addresses;   // the lines that are none of tags: variants, or fragments
  std::vector<std::string> renditions;  // those of EXT-X-MEDIA tags
  std::vector<double> durations;        // of the fragments, seconds

  bool Has(const std::string& line) const { return text.find(line + "\n") != std::string::npos; }
};
Playlist ParsePlaylist(const std::string& text);

struct HlsStream {
  std::string id;
  std::string format;

  // The folder in the workspace.
  std::filesystem::path Folder() const;
};

class HlsViewer {
 public:
  HlsViewer(const House& house, SignedIn who) : house_(house), who_(std::move(who)) {}

  const SignedIn& Who() const { return who_; }

  // The answer to opening the film; further parameters of the method as they come.
  Reply TryToOpen(const std::string& film, const Parameters& parameters) const;
  // Throws std::runtime_error when it is refused.
  HlsStream Open(const std::string& film, const std::string& format) const;
  Reply Close(const HlsStream& stream) const;

  // What the addresses in the stream's playlists are made of, the session included; a value that is empty
  // takes the parameter away.
  std::string Address(const HlsStream& stream, const Parameters& parameters) const;
  Reply Get(const std::string& address, const std::vector<std::string>& headers = {},
            const std::string& verb = "GET") const;
  // Throws std::runtime_error when there is none.
  Playlist GetPlaylist(const std::string& address) const;
  // All media playlists that the master playlist names: the variants', then the renditions'.
  std::vector<Playlist> MediaPlaylists(const HlsStream& stream) const;

 private:
  const House& house_;
  SignedIn who_;
};

// The processes that have the folder, or something in it, open; also when it has been removed.
std::vector<pid_t> ProcessesIn(const std::filesystem::path& folder);
// Those of them that are ffmpeg.
std::vector<pid_t> EncodersIn(const std::filesystem::path& folder);

// How many streams there are in the workspace.
size_t CountStreams();

// What ffprobe sees of one track of a fragment.
struct FragmentTrack {
  std::string codec;
  double start = 0;  // presentation time of the first packet, seconds
};
std::vector<FragmentTrack> TracksOf(const std::string& fragment);

}  // namespace kinora::test
