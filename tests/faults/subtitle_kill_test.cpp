// The process of a request for the text of a subtitle is killed at its system calls: no piece passes for the
// text, neither in the answer nor in what is kept, and the next request does not notice.
#include <gtest/gtest.h>

#include <fstream>

#include "platform/base/file_time.h"
#include "platform/system/scratch_sweep.h"
#include "tests/faults/cgi.h"
#include "tests/faults/kill_points.h"
#include "tests/http/subtitle_reader.h"
#include "tests/http/viewer.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "h264_aac.mp4";
constexpr int64_t kTwoHours = int64_t{7200} * 1'000'000'000;

// How files of the cache are copied and named.
constexpr char kCallsOfCopies[] = ",mkdirat,renameat,fchownat,fchown";

// Children of a request that has been killed: they read the share, or are told of it.
bool SomebodyWorksOn(const fs::path& share) {
  if (!ProcessesIn(share).empty()) return true;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    std::error_code gone;
    if (!fs::exists(entry.path() / "cmdline", gone)) continue;
    if (ReadWhole(entry.path() / "cmdline").find(share) != std::string::npos) return true;
  }
  return false;
}

void ExpectNothingHalfIn(const fs::path& file, const std::string& text, const std::string& where) {
  for (const std::string& name : CacheFilesOf(file)) {
    if (name.starts_with(".")) continue;  // it has no name that anybody reads
    EXPECT_TRUE(name.starts_with("CRVNVIDEO_2_0_SUBTITLE_V")) << where << " " << name;
    EXPECT_TRUE(ReadWhole(CacheFolderOf(file) / name) == text) << where << " " << name;
  }
}

}  // namespace

TEST(SubtitleKill, AtItsCallsKeepsNoPieceAndTheNextOneHasItAll) {
  if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(2000);  // more than a pipe or a buffer holds
  const fs::path file = ann.Put("h264_aac.srt", text);
  const Call call = ann.GetCall(file);
  const auto forget = [&] { fs::remove_all(CacheFolderOf(file)); };
  const auto has_all = [&](const CgiRun& run) { return run.Whole() && run.reply.body == text; };
  ASSERT_TRUE(has_all(RunCgi(call))) << "undisturbed";
  forget();
  const std::vector<KillPoint> points = KillPointsOf(call, kCallsOfCopies);
  ASSERT_GE(points.size(), 10U);
  size_t kills = 0;
  for (const KillPoint& point : points) {
    forget();
    const std::string where = point.name + " " + std::to_string(point.number);
    const CgiRun run = RunCgi(call, {KilledAt(point.name, point.number), {}});
    kills += run.Killed() ? 1 : 0;
    EXPECT_TRUE(!run.Whole() || run.reply.status != 200 || has_all(run)) << where;
    EXPECT_TRUE(Eventually([&] { return !SomebodyWorksOn(house.Share()); })) << where;
    ExpectNothingHalfIn(file, text, where);
    const CgiRun again = RunCgi(call);
    EXPECT_TRUE(has_all(again)) << where << again.output.substr(0, 500) << again.errors;
    EXPECT_GE(CacheFilesOf(file).size(), 2U) << where;
    ExpectNothingHalfIn(file, text, where);
    if (HasFailure()) return;
  }
  // A few calls are not made every time.
  EXPECT_GE(kills, points.size() / 2);
  EXPECT_EQ(ann.Get(file).body, text) << "through the front";
}

TEST(SubtitleKill, LeavesScratchFilesThatAreSwept) {
  if (!CanTrace()) GTEST_SKIP() << "programs cannot be traced here";
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(10);
  const fs::path file = ann.Put("h264_aac.srt", text);
  const int64_t now = kinora::base::NowInNanoseconds();
  kinora::system::SweepSubtitleScratch("/tmp", now + kTwoHours);
  // When what the converter has made is being copied: by the second renaming it has been.
  ASSERT_TRUE(RunCgi(ann.GetCall(file), {KilledAt("renameat", 2), {}}).Killed());
  ASSERT_EQ(SubtitleScratchFiles().size(), 1U);
  EXPECT_TRUE(SubtitleScratchFiles()[0].starts_with("CRVNVIDEO_utf8-2_"));
  kinora::system::SweepSubtitleScratch("/tmp", kinora::base::NowInNanoseconds());
  EXPECT_EQ(SubtitleScratchFiles().size(), 1U) << "somebody may be at work on it";
  kinora::system::SweepSubtitleScratch("/tmp", now + kTwoHours);
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
  // The copy that was not given its name: it goes with the next that is made beside it.
  size_t copies = 0;
  for (const std::string& name : CacheFilesOf(file)) {
    if (!name.starts_with(".copy-")) continue;
    ++copies;
    fs::last_write_time(CacheFolderOf(file) / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  EXPECT_EQ(copies, 1U);
  EXPECT_EQ(ann.Get(file).body, text);
  EXPECT_EQ(CacheFilesOf(file).size(), 2U) << testing::PrintToString(CacheFilesOf(file));
}
