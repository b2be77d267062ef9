#include "platform/media/scan_plan.h"

#include <gmock/gmock.h>

namespace kinora::media {
namespace {

using testing::ElementsAre;

constexpr int64_t kSecond = 1'000'000'000;
constexpr int64_t kNow = 1'000'000 * kSecond;
constexpr int64_t kOld = kNow - 3600 * kSecond;

// One share at /films that was read in full.
WalkedShare Films(std::vector<FoundFile> files) {
  WalkedShare share;
  share.share = {1, "Films", "/films"};
  share.walk.opened = true;
  share.walk.files = std::move(files);
  return share;
}

KnownFile Known(int id, int64_t size = 10, int64_t modified = kOld, int64_t inode = 1) {
  return {id, 1, size, modified, inode, "marks"};
}

std::vector<std::string> ToLookAt(const ScanPlan& plan) {
  std::vector<std::string> names;
  for (const ScanTask& task : plan.to_look_at) names.push_back(task.name + " " + std::to_string(task.id));
  return names;
}

std::vector<std::string> Vanished(const ScanPlan& plan) {
  std::vector<std::string> paths;
  for (const KnownPath& gone : plan.vanished) paths.push_back(gone.path);
  return paths;
}

TEST(PlanScan, LooksAtNewFiles) {
  const ScanPlan plan = PlanScan({}, {Films({{"a.mp4", 10, kOld, 1}})}, kNow);
  EXPECT_THAT(ToLookAt(plan), ElementsAre("a.mp4 0"));
  EXPECT_EQ(plan.to_look_at[0].path, "/films/a.mp4");
  EXPECT_EQ(plan.to_look_at[0].share, 1);
}

TEST(PlanScan, LooksAgainAtWhatDiffersInSizeTimeOrInode) {
  const struct {
    FoundFile found;
    bool looked_at;
  } cases[] = {
      {{"a.mp4", 10, kOld, 1}, false},    {{"a.mp4", 11, kOld, 1}, true}, {{"a.mp4", 10, kOld + 1, 1}, true},
      {{"a.mp4", 10, kOld - 1, 1}, true}, {{"a.mp4", 10, kOld, 2}, true},
  };
  for (const auto& [found, looked_at] : cases) {
    const ScanPlan plan = PlanScan({{"/films/a.mp4", Known(7)}}, {Films({found})}, kNow);
    EXPECT_EQ(ToLookAt(plan), looked_at ? std::vector<std::string>{"a.mp4 7"} : std::vector<std::string>{});
    EXPECT_EQ(plan.unchanged, looked_at ? 0 : 1);
    EXPECT_TRUE(plan.vanished.empty());
  }
}

TEST(PlanScan, LetsFilesBeingWrittenWait) {
  const struct {
    int64_t modified;
    bool waits;
  } cases[] = {
      {kNow, true},
      {kNow - 4 * kSecond, true},
      {kNow + 4 * kSecond, true},
      {kNow - 5 * kSecond, false},
      {kNow + 5 * kSecond, false},
      {kNow + 315'360'000 * kSecond, false},
      {0, false},
      {-kNow, false},
  };
  for (const auto& [modified, waits] : cases) {
    const ScanPlan plan = PlanScan({}, {Films({{"a.mp4", 10, modified, 1}})}, kNow);
    EXPECT_EQ(plan.waiting, waits ? 1 : 0) << modified;
    EXPECT_EQ(plan.to_look_at.size(), waits ? 0U : 1U) << modified;
  }
}

TEST(PlanScan, DoesNotWaitForAFileThatItKnowsAsItIs) {
  const ScanPlan plan =
      PlanScan({{"/films/a.mp4", Known(7, 10, kNow)}}, {Films({{"a.mp4", 10, kNow, 1}})}, kNow);
  EXPECT_EQ(plan.waiting, 0);
  EXPECT_EQ(plan.unchanged, 1);
}

TEST(PlanScan, CountsRefusedFilesThatStayedTheSame) {
  const ScanPlan plan = PlanScan({{"/films/a.mp4", Known(0)}}, {Films({{"a.mp4", 10, kOld, 1}})}, kNow);
  EXPECT_EQ(plan.refused, 1);
  EXPECT_TRUE(plan.to_look_at.empty());
}

TEST(PlanScan, FindsWhatVanishedInOrder) {
  const ScanPlan plan =
      PlanScan({{"/films/c.mp4", Known(3)}, {"/films/a.mp4", Known(1)}, {"/films/b.mp4", Known(0)}},
               {Films({{"d.mp4", 10, kOld, 1}})}, kNow);
  EXPECT_THAT(Vanished(plan), ElementsAre("/films/a.mp4", "/films/b.mp4", "/films/c.mp4"));
}

TEST(PlanScan, KeepsWhatMayBeOutOfReach) {
  const KnownFiles known = {{"/films/a/x.mp4", Known(1)}, {"/films/ab/y.mp4", Known(2)}};
  WalkedShare closed = Films({});
  closed.walk.opened = false;
  EXPECT_THAT(Vanished(PlanScan(known, {closed}, kNow)), ElementsAre());
  EXPECT_THAT(Vanished(PlanScan(known, {}, kNow)), ElementsAre()) << "of a share that was added meanwhile";

  WalkedShare partly = Films({});
  partly.walk.unread = {"a"};
  EXPECT_THAT(Vanished(PlanScan(known, {partly}, kNow)), ElementsAre("/films/ab/y.mp4"));
}

TEST(PlanScan, TakesAnEmptyMountPointForUnmounted) {
  const KnownFiles known = {{"/films/a.mp4", Known(1)}};
  WalkedShare share = Films({});
  EXPECT_TRUE(IsWithinReach(share));
  share.was_mounted = true;
  EXPECT_FALSE(IsWithinReach(share));
  EXPECT_THAT(Vanished(PlanScan(known, {share}, kNow)), ElementsAre());
  share.walk.mounted = true;
  EXPECT_THAT(Vanished(PlanScan(known, {share}, kNow)), ElementsAre("/films/a.mp4"));
  share.walk.mounted = false;
  share.walk.files = {{"b.mp4", 99, kOld, 2}};
  EXPECT_THAT(Vanished(PlanScan(known, {share}, kNow)), ElementsAre("/films/a.mp4"));
}

TEST(PlanScan, KeepsAVanishedFileWhileOneOfItsSizeWaits) {
  const KnownFiles known = {{"/films/a.mp4", Known(1)}};
  EXPECT_THAT(Vanished(PlanScan(known, {Films({{"b.mp4", 10, kNow, 2}})}, kNow)), ElementsAre());
  EXPECT_THAT(Vanished(PlanScan(known, {Films({{"b.mp4", 11, kNow, 2}})}, kNow)),
              ElementsAre("/films/a.mp4"));
}

}  // namespace
}  // namespace kinora::media
