#include "platform/base/file_time.h"

#include <gtest/gtest.h>

#include <limits>

namespace kinora::base {
namespace {

TEST(NanosecondsOf, CountsFromTheEpoch) {
  EXPECT_EQ(NanosecondsOf({0, 0}), 0);
  EXPECT_EQ(NanosecondsOf({1, 5}), 1'000'000'005);
  EXPECT_EQ(NanosecondsOf({-1, 999'999'999}), -1);
}

TEST(NanosecondsOf, GivesTimesWhoseDifferenceIsANumber) {
  constexpr time_t kYear = 365 * 24 * 60 * 60;
  const int64_t latest = NanosecondsOf({std::numeric_limits<time_t>::max(), 999'999'999});
  const int64_t earliest = NanosecondsOf({std::numeric_limits<time_t>::min(), 0});
  EXPECT_EQ(NanosecondsOf({3000 * kYear, 0}), latest);
  EXPECT_EQ(NanosecondsOf({-3000 * kYear, 0}), earliest);
  EXPECT_GT(latest, NanosecondsOf({139 * kYear, 0}));
  EXPECT_LT(earliest, NanosecondsOf({-139 * kYear, 0}));
  int64_t difference = 0;
  EXPECT_FALSE(__builtin_sub_overflow(latest, earliest, &difference));
}

}  // namespace
}  // namespace kinora::base
