// Points in time as one number.
#pragma once

#include <cstdint>
#include <ctime>

namespace kinora::base {

// Nanoseconds since the epoch. A file may bear any date: one further than 140 years from the epoch counts as
// just so far, so that the difference of two times is always a number too.
inline int64_t NanosecondsOf(const timespec& time) {
  constexpr int64_t kSecond = 1'000'000'000;
  constexpr int64_t kFurthest = int64_t{140} * 365 * 24 * 60 * 60;
  if (time.tv_sec >= kFurthest) return kFurthest * kSecond;
  if (time.tv_sec < -kFurthest) return -kFurthest * kSecond;
  return int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

// What the machine's clock says.
inline int64_t NowInNanoseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return NanosecondsOf(now);
}

}  // namespace kinora::base
