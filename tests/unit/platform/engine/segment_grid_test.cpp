#include "platform/engine/segment_grid.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

namespace kinora::engine {
namespace {

using ::testing::ElementsAreArray;

struct Case {
  const char* name;
  MediaTime rate;
  MediaTime duration;
  std::vector<int64_t> boundaries;  // frames
};

//   0   1       3               7               11  seconds
//   |-0-|---1---|-------2-------|-------3-------|
const std::vector<Case> kCases = {
    {"whole seconds", {25, 1}, {15, 1}, {0, 25, 75, 175, 275, 375}},
    {"cuts on the frame at or after the second", {24000, 1001}, {8, 1}, {0, 24, 72, 168, 192}},
    {"broadcast rate", {30000, 1001}, {12, 1}, {0, 30, 90, 210, 330, 360}},
    {"a tail below half a second", {25, 1}, {74, 10}, {0, 25, 75, 185}},
    {"a tail of half a second", {25, 1}, {75, 10}, {0, 25, 75, 175, 188}},
    {"shorter than the first fragment", {25, 1}, {3, 10}, {0, 8}},
    {"a single frame", {25, 1}, {1, 1000}, {0, 1}},
    {"a frame every five seconds", {1, 5}, {30, 1}, {0, 1, 2, 3, 4, 5, 6}},
};

TEST(MakeFrameGrid, CutsOnOutputFrames) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const SegmentGrid grid = MakeFrameGrid(c.rate, c.duration);
    EXPECT_THAT(grid.boundaries, ElementsAreArray(c.boundaries));
    EXPECT_EQ(grid.unit, 1 / c.rate);
  }
}

TEST(MakeFrameGrid, HoldsForTheLongestFilm) {
  const SegmentGrid grid = MakeFrameGrid({60000, 1001}, {3'600'000, 1});
  EXPECT_EQ(grid.Count(), 900'002);
  EXPECT_EQ(grid.End(grid.Count() - 1), MediaTime(1001, 60000) * int64_t{215'784'216});
}

TEST(MakeFrameGrid, LeavesNoFragmentBelowHalfASecondButOfAShorterFilm) {
  for (const MediaTime rate :
       {MediaTime(24000, 1001), MediaTime(25), MediaTime(30000, 1001), MediaTime(60)}) {
    for (int milliseconds = 500; milliseconds < 16'000; milliseconds += 7) {
      const SegmentGrid grid = MakeFrameGrid(rate, {milliseconds, 1000});
      for (int n = 0; n < grid.Count(); ++n) ASSERT_GE(grid.Duration(n), MediaTime(1, 2)) << milliseconds;
      ASSERT_GE(grid.End(grid.Count() - 1), MediaTime(milliseconds, 1000));
      ASSERT_LT(grid.End(grid.Count() - 1), MediaTime(milliseconds, 1000) + 1 / rate);
    }
  }
}

TEST(MakeFrameGrid, RefusesWhatCannotBeCut) {
  const std::vector<std::pair<MediaTime, MediaTime>> cases = {{{0, 1}, {10, 1}},         {{-25, 1}, {10, 1}},
                                                              {{1001, 1}, {10, 1}},      {{25, 1}, {0, 1}},
                                                              {{25, 1}, {3'600'001, 1}}, {{25, 1}, {-1, 1}}};
  for (const auto& [rate, duration] : cases) {
    EXPECT_THROW(MakeFrameGrid(rate, duration), std::invalid_argument) << rate << " " << duration;
  }
}

TEST(SegmentGrid, AtTellsTheFragmentThatCoversATime) {
  const SegmentGrid grid = MakeFrameGrid({24000, 1001}, {15, 1});
  for (int n = 0; n < grid.Count(); ++n) {
    EXPECT_EQ(grid.At(grid.Start(n)), n);
    EXPECT_EQ(grid.At(grid.End(n) - MediaTime(1, 1'000'000)), n);
  }
  EXPECT_EQ(grid.At({-1, 1}), 0);
  EXPECT_EQ(grid.At({1000, 1}), grid.Count() - 1);
}

}  // namespace
}  // namespace kinora::engine
