#include "helpers/job/pace.h"

#include <gmock/gmock.h>

namespace kinora::helper {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Fragments 4 to 9 of four seconds each.
const Run kRun = {4, 9, {12'000, 16'000, 20'000, 24'000, 28'000, 32'000, 36'000}};

TEST(MayRun, KeepsToTheLeadOverTheViewer) {
  struct Case {
    const char* name;
    Progress progress;
    bool expected;
  };
  const Limits limits = {8000, 1'000'000};
  const Case cases[] = {
      {"nothing made yet", {3, 4, false}, true},
      {"the wanted one is being made", {4, 5, false}, true},
      {"just the wanted one is there", {5, 5, false}, true},
      {"four seconds ahead", {6, 5, false}, true},
      {"eight seconds ahead", {7, 5, false}, false},
      {"stopped, a quarter of the lead not used up yet", {7, 5, true}, false},
      {"stopped, four seconds of eight left", {6, 5, true}, true},
      {"the viewer is before the run", {5, 0, false}, false},
      {"the viewer is behind the run", {5, 10, false}, false},
      {"the viewer is behind the run, and somebody waits for it", {5, 10, true, true}, true},
      {"the viewer is far ahead within the run", {4, 9, false}, true},
  };
  for (const Case& c : cases) EXPECT_EQ(MayRun(kRun, c.progress, limits, {}), c.expected) << c.name;
}

TEST(MayRun, WaitsWhenTheQuotaIsMetButNotBeforeTheViewerIsServed) {
  const std::vector<Kept> kept = {{"4.ts", 4, 40}, {"5.ts", 5, 50}};
  const Limits limits = {60'000, 139};  // 90 are there, one more may have 50
  EXPECT_FALSE(MayRun(kRun, {5, 4, false}, limits, kept));
  EXPECT_TRUE(MayRun(kRun, {5, 5, false}, limits, kept));
  EXPECT_TRUE(MayRun(kRun, {5, 4, false}, {60'000, 140}, kept));
}

TEST(HangWatch, NoticesAnEncoderThatWritesNothingForTooLong) {
  HangWatch watch(1000, 5000);
  EXPECT_FALSE(watch.Hangs(5999, 0, true));
  EXPECT_TRUE(watch.Hangs(6000, 0, true));
  EXPECT_FALSE(watch.Hangs(6100, 1, true)) << "it has written";
  EXPECT_FALSE(watch.Hangs(7099, 1, true));
  EXPECT_TRUE(watch.Hangs(7100, 1, true));
  EXPECT_FALSE(watch.Hangs(7200, 0, true)) << "what it had written has been published";
  EXPECT_FALSE(watch.Hangs(9000, 0, false)) << "it waits for the viewer";
  EXPECT_FALSE(watch.Hangs(9999, 0, true)) << "and may go on";
  EXPECT_TRUE(watch.Hangs(10'000, 0, true));
}

TEST(ToDrop, TakesNothingWhileThereIsRoom) {
  EXPECT_THAT(ToDrop({5, 5, false}, {0, 30}, {{"0.ts", 0, 10}, {"5.ts", 5, 10}}), IsEmpty());
}

TEST(ToDrop, TakesWhatIsFurthestBehindTheViewerFirst) {
  const std::vector<Kept> kept = {{"2.ts", 2, 10}, {"0.ts", 0, 10}, {"a1_1.ts", 1, 10}, {"5.ts", 5, 10}};
  EXPECT_THAT(ToDrop({5, 5, false}, {0, 49}, kept), ElementsAre("0.ts"));
  EXPECT_THAT(ToDrop({5, 5, false}, {0, 39}, kept), ElementsAre("0.ts", "a1_1.ts"));
}

TEST(ToDrop, TakesWhatLiesBeyondThisRunNext) {
  const std::vector<Kept> kept = {{"0.ts", 0, 10}, {"5.ts", 5, 10}, {"20.ts", 20, 10}, {"30.ts", 30, 10}};
  EXPECT_THAT(ToDrop({5, 5, false}, {0, 30}, kept), ElementsAre("0.ts", "30.ts"));
}

TEST(ToDrop, LeavesTheWantedOneItsNeighboursAndWhatIsAhead) {
  const std::vector<Kept> kept = {
      {"4.ts", 4, 10}, {"5.ts", 5, 10}, {"a1_6.ts", 6, 10}, {"6.ts", 6, 10}, {"7.ts", 7, 10}};
  EXPECT_THAT(ToDrop({7, 5, false}, {0, 1}, kept), IsEmpty());
}

}  // namespace
}  // namespace kinora::helper
