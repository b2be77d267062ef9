// Standard output with the header block held back until it is whole.
//
// The streamers and the file output write their header lines through stdio, and may fail between two of them.
// What they have written by then stays a part of the answer, which somebody else has to complete; so it must
// not have gone out. Behind the block everything goes out as it comes.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kinora::entry {

// Sees the bytes of an answer go by.
class HeaderHold {
 public:
  // `own` are whole lines, ends included, that go before the block: those of an answer that succeeds.
  explicit HeaderHold(std::string own = {}) : own_(std::move(own)) {}

  // Gives what may go out now: nothing as long as the block has no end.
  std::string Feed(std::string_view bytes);
  bool Complete() const { return complete_; }
  // The lines of a block without an end as far as they are whole, without their ends and without `own`.
  std::vector<std::string> Lines() const;

 private:
  std::string own_;
  std::string held_;
  bool complete_ = false;
};

// Puts the hold between this process's `stdout` and descriptor 1; called once. `begins` is called when the
// block is whole, before it goes out. What is left in the hold never goes out by itself. Throws
// std::system_error.
const HeaderHold& HoldStandardOutput(std::string own, void (*begins)() = nullptr);

}  // namespace kinora::entry
