#include "platform/engine/smooth_times.h"

#include <gtest/gtest.h>

#include <vector>

namespace kinora::engine {
namespace {

const std::vector<MediaTime> kRates = {{25, 1}, {30, 1}, {24000, 1001}, {30000, 1001}, {60000, 1001}, {1, 5}};
constexpr int kFrequencies[] = {48'000, 44'100, 32'000};
const MediaTime kLong{4 * 60 * 60 + 1, 1};  // seconds

TEST(PictureTick, IsTheNearestTick) {
  EXPECT_EQ(PictureTick({1, 25}, 0), 0);
  EXPECT_EQ(PictureTick({1, 25}, 1), 400'000);
  EXPECT_EQ(PictureTick({1001, 30000}, 1), 333'667);  // 333666.67
  EXPECT_EQ(PictureTick({1001, 30000}, 2), 667'333);  // 667333.33
  EXPECT_EQ(PictureTick({1001, 24000}, 24), 10'010'000);
}

TEST(PictureTick, IsExactAtTheEndOfTheLongestFilm) {
  // 1,000 hours, and one picture less.
  EXPECT_EQ(PictureTick({1, 60}, 216'000'000), 36'000'000'000'000);
  EXPECT_EQ(PictureTick({1, 60}, 215'999'999), 35'999'999'833'333);
}

TEST(PacketTick, CountsSamples) {
  EXPECT_EQ(PacketTick(48'000, 0), 0);
  EXPECT_EQ(PacketTick(48'000, 3), 640'000);
  EXPECT_EQ(PacketTick(44'100, 1), 232'200);  // 232199.55
}

TEST(SoundChunk, StartsWithTheFirstPacketThatDoesNotLieBeforeTheCut) {
  const SegmentGrid grid = MakeFrameGrid({25, 1}, {15, 1});
  // 46.875, 140.625, 328.125 packets of 1024 samples at 48 kHz.
  EXPECT_EQ(SoundChunk(grid, 48'000, 0), (SmoothChunk{0, 47, 0, 10'026'667}));
  EXPECT_EQ(SoundChunk(grid, 48'000, 1), (SmoothChunk{47, 94, 10'026'667, 20'053'333}));
  EXPECT_EQ(SoundChunk(grid, 48'000, 2).first, 141);
}

// Every chunk starts where the one before it ends, in ticks as in what it holds.
void ExpectChain(const std::vector<SmoothChunk>& chunks) {
  SmoothChunk expected;
  for (const SmoothChunk& chunk : chunks) {
    EXPECT_EQ(chunk.first, expected.first + expected.count);
    EXPECT_EQ(chunk.start, expected.start + expected.duration);
    EXPECT_GE(chunk.count, 1);
    EXPECT_GT(chunk.duration, 0);
    expected = chunk;
  }
}

TEST(SmoothChunks, FollowEachOtherWithoutAGapOrAnOverlap) {
  for (const MediaTime& rate : kRates) {
    SCOPED_TRACE(rate.numerator());
    const SegmentGrid grid = MakeFrameGrid(rate, kLong);
    std::vector<SmoothChunk> pictures;
    for (int n = 0; n < grid.Count(); ++n) pictures.push_back(PictureChunk(grid, n));
    ExpectChain(pictures);
    EXPECT_EQ(pictures.back().first + pictures.back().count, grid.boundaries.back());
    for (const int frequency : kFrequencies) {
      std::vector<SmoothChunk> sounds;
      for (int n = 0; n < grid.Count(); ++n) sounds.push_back(SoundChunk(grid, frequency, n));
      ExpectChain(sounds);
    }
  }
}

TEST(SmoothChunks, OfSoundStartWithinAPacketBehindThePictures) {
  for (const MediaTime& rate : kRates) {
    const SegmentGrid grid = MakeFrameGrid(rate, {600, 1});
    for (int n = 0; n < grid.Count(); ++n) {
      const int64_t late = SoundChunk(grid, 48'000, n).start - PictureChunk(grid, n).start;
      EXPECT_GE(late, -1) << n;
      EXPECT_LE(late, PacketTick(48'000, 1)) << n;
    }
  }
}

}  // namespace
}  // namespace kinora::engine
