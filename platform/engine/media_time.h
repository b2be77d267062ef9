// Points in media time, exact: seconds as a fraction. The film's first instant is 0; in every
// transport-stream fragment it bears the presentation time 90000 (one second of the 90 kHz clock).
#pragma once

#include <boost/rational.hpp>
#include <cstdint>

namespace kinora::engine {

// To be compared with another MediaTime, never by == or != with a plain number: that comparison of this
// library calls itself for ever under C++20.
using MediaTime = boost::rational<int64_t>;

inline constexpr int64_t kTransportClock = 90000;   // ticks a second
inline constexpr int64_t kTransportOrigin = 90000;  // ticks; where media time 0 lies

// The whole number at or below, or at or above.
inline int64_t Floor(const MediaTime& time) {
  const int64_t quotient = time.numerator() / time.denominator();
  return time.numerator() % time.denominator() < 0 ? quotient - 1 : quotient;
}
inline int64_t Ceil(const MediaTime& time) { return -Floor(-time); }

}  // namespace kinora::engine
