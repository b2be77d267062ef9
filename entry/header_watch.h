// Standard output, watched: how far the header block of the answer has got.
//
// The streamers and the file output write their header lines through stdio. When a streamer fails, what it
// has written decides what can still be said: within the header block a status can follow, behind it nothing.
#pragma once

#include <string>
#include <string_view>

namespace kinora::entry {

// Sees the bytes of an answer go by.
class HeaderWatch {
 public:
  void Feed(std::string_view bytes);
  bool Complete() const { return complete_; }

 private:
  bool complete_ = false;
  std::string tail_;  // of what came last, so that an end of the block in two pieces is found
};

// Lets what this process writes to `stdout` pass by the watch, on its way to descriptor 1. Called once.
// Throws std::system_error.
const HeaderWatch& WatchStandardOutput();

}  // namespace kinora::entry
