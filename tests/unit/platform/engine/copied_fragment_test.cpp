#include "platform/engine/copied_fragment.h"

#include <gtest/gtest.h>

#include <vector>

namespace kinora::engine {
namespace {

TEST(MakeSoundGrid, CutsEverySixSecondsAndLetsTheLastFragmentTakeARest) {
  struct Case {
    MediaTime duration;
    std::vector<int64_t> boundaries;  // ticks of the transport clock
  };
  const Case cases[] = {
      {MediaTime(6), {0, 540000}},
      {MediaTime(89, 10), {0, 801000}},  // too little for two
      {MediaTime(9), {0, 540000, 810000}},
      {MediaTime(20), {0, 540000, 1080000, 1800000}},
      {MediaTime(21), {0, 540000, 1080000, 1620000, 1890000}},
      {MediaTime(1, 3), {0, 30000}},
      {MediaTime(1, 7), {0, 12858}},  // what is begun counts
      {MediaTime(0), {0, 1}},
  };
  for (const Case& c : cases) {
    const SegmentGrid grid = MakeSoundGrid(c.duration);
    EXPECT_EQ(grid.boundaries, c.boundaries) << c.duration;
    EXPECT_EQ(grid.unit, MediaTime(1, kTransportClock));
  }
}

}  // namespace
}  // namespace kinora::engine
