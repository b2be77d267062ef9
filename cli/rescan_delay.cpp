#include "cli/rescan_delay.h"

#include <algorithm>

namespace kinora::cli {

std::chrono::seconds RescanDelay(int attempts, bool gap) {
  constexpr std::chrono::seconds kSoon{6};  // a file counts as written after five seconds of rest
  constexpr std::chrono::seconds kGap{5 * 60};
  constexpr std::chrono::seconds kAlways{60 * 60};
  if (attempts > 0) return std::min(kSoon * (1 << std::min(attempts - 1, 10)), kGap);
  return gap ? kGap : kAlways;
}

}  // namespace kinora::cli
