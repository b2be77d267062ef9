// Standard output with the header block held back until it is whole.
//
// The streamers and the file output write their header lines through stdio, and may fail between two of them.
// What is held back has not been said yet: the answer of a failed request takes its place. Behind the block
// everything goes out as it comes.
#pragma once

#include <string>
#include <string_view>

namespace kinora::entry {

// Sees the bytes of an answer go by.
class HeaderHold {
 public:
  // Gives what may go out now: nothing as long as the block has no end.
  std::string Feed(std::string_view bytes);
  bool Complete() const { return complete_; }

 private:
  bool complete_ = false;
  std::string held_;
};

// Puts the hold between this process's `stdout` and descriptor 1; called once. `begins` is called when the
// block is whole, before it goes out. What a failed request leaves in the hold never goes out. Throws
// std::system_error.
const HeaderHold& HoldStandardOutput(void (*begins)() = nullptr);

}  // namespace kinora::entry
