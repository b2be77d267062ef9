// Somebody who watches a stream by Smooth Streaming: reads the manifest and makes the addresses of chunks
// from it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/http/viewer.h"

namespace kinora::test {

struct SmoothTrack {
  std::string type;  // "video" or "audio"
  std::string name;
  std::string bitrate;
  std::string pattern;          // of a chunk's address below the manifest's
  std::vector<int64_t> starts;  // of the chunks, in ticks of 100 ns
  int64_t end = 0;              // of the last one

  // Its address below that of the manifest.
  std::string ChunkAt(int64_t start) const;
};
// All tracks that the manifest lists.
std::vector<SmoothTrack> ParseSmoothManifest(const std::string& text);

class SmoothViewer : public Viewer {
 public:
  using Viewer::Viewer;

  // `part` is "Manifest", or a chunk's address below it.
  std::string Path(const ViewedStream& stream, const std::string& part) const;
  // The same with another session, or "-".
  static std::string PathOf(const std::string& session, const ViewedStream& stream, const std::string& part);
  // Throws std::runtime_error when there is no manifest.
  std::vector<SmoothTrack> Tracks(const ViewedStream& stream) const;
};

}  // namespace kinora::test
