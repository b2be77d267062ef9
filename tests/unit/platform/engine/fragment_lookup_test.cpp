#include "platform/engine/fragment_lookup.h"

#include <gtest/gtest.h>

namespace kinora::engine {
namespace {

constexpr char kChunk[] = "QualityLevels(1500000)/Fragments(video=20000000)";

// Three pieces of two seconds each, of the picture only.
StreamPlan Plan(Delivery delivery) {
  StreamPlan plan;
  plan.delivery = delivery;
  plan.video = VideoWay::kEncode;
  plan.source.video.track = 0;
  plan.profile.video_bitrate = 1'500'000;
  plan.grid.unit = MediaTime(1, 25);
  plan.grid.boundaries = {0, 50, 100, 150};
  return plan;
}

TEST(FragmentLookup, TakesTheNameThatThePlansWayOfDeliveryHas) {
  const FragmentId second{std::nullopt, 1};
  EXPECT_TRUE(FindFragment(Plan(Delivery::kHls), "1") == second);
  EXPECT_TRUE(FindFragment(Plan(Delivery::kSmooth), kChunk) == second);
}

TEST(FragmentLookup, TakesNoOther) {
  for (const char* name : {kChunk, "3", "a1_0", "01", "", "1.ts"}) {
    EXPECT_FALSE(FindFragment(Plan(Delivery::kHls), name)) << name;
  }
  for (const char* name : {"1", "", "a1_0", "Manifest", "QualityLevels(1500000)/Fragments(video=1)",
                           "QualityLevels(1500000)/Fragments(video=60000000)"}) {
    EXPECT_FALSE(FindFragment(Plan(Delivery::kSmooth), name)) << name;
  }
}

}  // namespace
}  // namespace kinora::engine
