// Somebody who watches a stream by HTTP Live Streaming: reads playlists, follows their addresses.
#pragma once

#include <string>
#include <vector>

#include "tests/http/viewer.h"

namespace kinora::test {

struct Playlist {
  std::string text;
  std::vector<std::string> addresses;   // the lines that are none of tags: variants, or fragments
  std::vector<std::string> renditions;  // of the sound: those of EXT-X-MEDIA tags
  std::vector<std::string> subtitles;   // likewise
  std::vector<double> durations;        // of the fragments, seconds

  bool Has(const std::string& line) const { return text.find(line + "\n") != std::string::npos; }
};
Playlist ParsePlaylist(const std::string& text);

using HlsStream = ViewedStream;

class HlsViewer : public Viewer {
 public:
  using Viewer::Viewer;

  // Throws std::runtime_error when there is none.
  Playlist GetPlaylist(const std::string& address) const;
  // All media playlists of picture and sound that the master playlist names: the variants', then the
  // renditions'.
  std::vector<Playlist> MediaPlaylists(const HlsStream& stream) const;
};

// What ffprobe sees of one track of a fragment.
struct FragmentTrack {
  std::string codec;
  double start = 0;  // presentation time of the first packet, seconds
};
std::vector<FragmentTrack> TracksOf(const std::string& fragment);

}  // namespace kinora::test
