// Removing what nobody will ever close: streams that were opened and never used, or were left long ago,
// working folders that no stream leads to, and streams whose working folder is gone.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace kinora::engine {

// Whether a stream that was last used at `used` is to go at `now`, both in nanoseconds since the epoch. A
// time in the future is none to judge by.
bool IsLeft(std::string_view type, int64_t used, int64_t now);

class Housekeeping {
 public:
  // Looks at all that there is and removes what was found useless at the look before, too, and has not
  // changed since: a clock that has jumped, or a stream that is just being opened, does no harm when there is
  // an hour between two looks. Touched are only folders with the names of streams and of this account, in the
  // places of streams, that hold nothing but what streams hold; a stream with an encoder at work is left
  // alone. What cannot be removed stays, with a line in the log.
  void Sweep();

 private:
  std::map<std::string, int64_t> seen_;  // what was found useless, and when it was last used
};

}  // namespace kinora::engine
