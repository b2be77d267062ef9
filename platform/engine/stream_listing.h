// What streams there are, for people.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kinora::engine {

struct ListedStream {
  std::string type;  // "RAW", "HLS", "SS", "WEBM"
  std::string id;
  std::string film;       // its path; empty: not known
  int64_t last_use = 0;   // nanoseconds since the epoch
  uint64_t bytes = 0;     // on disk
  bool encoding = false;  // an encoder is at work, or waits for the viewer
};

// The streams of this account, those used last first.
std::vector<ListedStream> ListStreams();

}  // namespace kinora::engine
