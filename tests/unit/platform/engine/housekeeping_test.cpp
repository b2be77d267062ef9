#include "platform/engine/housekeeping.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "contract/engine/vte_stream.h"
#include "contract/system/crvn_fs.h"
#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/engine/job_lock.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr int64_t kHour = int64_t{3600} * 1'000'000'000;
constexpr uid_t kSomebodyElse = 12345;

TEST(IsLeft, GivesAStreamHoursAndNeverJudgesByATimeToCome) {
  const int64_t now = 1'700'000'000 * int64_t{1'000'000'000};
  for (const char* type : {"HLS", "SS", "WEBM"}) {
    EXPECT_FALSE(IsLeft(type, now, now));
    EXPECT_FALSE(IsLeft(type, now - 12 * kHour, now));
    EXPECT_TRUE(IsLeft(type, now - 12 * kHour - 1, now));
    EXPECT_FALSE(IsLeft(type, now + 87'600 * kHour, now));
  }
  EXPECT_FALSE(IsLeft("RAW", now - 48 * kHour, now));
  EXPECT_TRUE(IsLeft("RAW", now - 48 * kHour - 1, now));
}

class HousekeepingTest : public testing::Test {
 protected:
  HousekeepingTest() { Clear(); }
  ~HousekeepingTest() override { Clear(); }
  void Clear() {
    fs::remove_all(volume_ / "@tmp");
    for (const auto& entry : fs::directory_iterator(system::kWorkspace)) fs::remove_all(entry.path());
    fs::remove(system::kSettingsFile);
  }

  // A stream as opening makes it; its id.
  std::string Open(const std::string& type) {
    const std::string id = LibCrvnVTE::VTEStream::GetRandStreamID("/film.mkv");
    libkn::critical::crvnsdk::CRVNFSMkdirPKinora(std::string(system::kWorkspace) + "/" + type, 0700);
    EXPECT_TRUE(LibCrvnVTE::VTEStream::GetVolTmpAndSymlink(1, id, type));
    Put(Folder(type, id) / "filepath");
    return id;
  }
  static fs::path Link(const std::string& type, const std::string& id) {
    return fs::path(system::kWorkspace) / type / id;
  }
  fs::path Folder(const std::string& type, const std::string& id) const {
    return volume_ / "@tmp/Kinora" / type / id;
  }
  static void Put(const fs::path& file) { std::ofstream(file) << "x"; }
  static void Age(const fs::path& path, std::chrono::hours read, std::chrono::hours written) {
    const auto ago = [](std::chrono::hours age) {
      return timespec{std::time(nullptr) - std::chrono::seconds(age).count(), 0};
    };
    const timespec times[] = {ago(read), ago(written)};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  }
  // As if nobody had touched the folder, and what is in it, for so long.
  static void AgeAll(const fs::path& folder, std::chrono::hours age) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) Age(entry.path(), age, age);
    Age(folder, age, age);
  }
  void SweepTwice() {
    housekeeping_.Sweep();
    housekeeping_.Sweep();
  }
  bool IsThere(const std::string& type, const std::string& id) const {
    const bool folder = fs::exists(Folder(type, id));
    EXPECT_EQ(fs::is_symlink(fs::symlink_status(Link(type, id))), folder);
    return folder;
  }

  Housekeeping housekeeping_;
  const fs::path volume_ = fs::canonical(system::kVar);
};

TEST_F(HousekeepingTest, RemovesStreamsThatNobodyEverUsed) {
  for (const char* type : {"RAW", "HLS", "SS", "WEBM"}) {
    const std::string left = Open(type);
    const std::string fresh = Open(type);
    AgeAll(Folder(type, left), 49h);
    SweepTwice();
    EXPECT_FALSE(IsThere(type, left)) << type;
    EXPECT_TRUE(IsThere(type, fresh)) << type;
  }
}

TEST_F(HousekeepingTest, RemovesAllThatAStreamHolds) {
  const std::string id = Open("HLS");
  for (const char* name : {"request.json", "plan.json", "owner", "lock", "access_status", "main.m3u8"}) {
    Put(Folder("HLS", id) / name);
  }
  fs::create_directory(Folder("HLS", id) / "work");
  for (const char* name : {"0.ts", "a1_0.ts", "wanted", "job.json", "job.lock"}) {
    Put(Folder("HLS", id) / "work" / name);
  }
  AgeAll(Folder("HLS", id), 13h);
  SweepTwice();
  EXPECT_FALSE(IsThere("HLS", id));
}

// A run's folder is left where a job was killed; after a loss of power there is not even a link.
TEST_F(HousekeepingTest, RemovesWhatAKilledJobHasLeft) {
  for (const bool linked : {true, false}) {
    const std::string id = Open("HLS");
    const fs::path run = Folder("HLS", id) / "work/run-4711";
    fs::create_directories(run);
    for (const char* name : {"3.ts", "4.ts.tmp", "job.json"}) Put(run / name);
    AgeAll(Folder("HLS", id), 13h);
    if (!linked) fs::remove(Link("HLS", id));
    SweepTwice();
    EXPECT_FALSE(fs::exists(Folder("HLS", id))) << linked;
  }
  const std::string odd = Open("HLS");
  fs::create_directories(Folder("HLS", odd) / "work/run-4711/season");
  AgeAll(Folder("HLS", odd), 13h);
  SweepTwice();
  EXPECT_TRUE(IsThere("HLS", odd)) << "no job makes folders there";
}

TEST_F(HousekeepingTest, KeepsAStreamWithAnyFreshSignOfUse) {
  for (const char* name : {"access_status", "plan.json", "owner"}) {
    const std::string id = Open("HLS");
    AgeAll(Folder("HLS", id), 1000h);
    Put(Folder("HLS", id) / name);
    Age(Folder("HLS", id), 1000h, 1000h);
    SweepTwice();
    EXPECT_TRUE(IsThere("HLS", id)) << name;
  }
}

TEST_F(HousekeepingTest, JudgesRawStreamsByWhenTheirPathWasRead) {
  const std::string played = Open("RAW");
  AgeAll(Folder("RAW", played), 1000h);
  Age(Folder("RAW", played) / "filepath", 47h, 1000h);
  const std::string left = Open("RAW");
  AgeAll(Folder("RAW", left), 1000h);
  Age(Folder("RAW", left) / "filepath", 49h, 1000h);
  SweepTwice();
  EXPECT_TRUE(IsThere("RAW", played));
  EXPECT_FALSE(IsThere("RAW", left));
}

TEST_F(HousekeepingTest, RemovesNothingAtTheFirstLookNorWhatHasChangedSince) {
  const std::string id = Open("HLS");
  AgeAll(Folder("HLS", id), 100h);
  housekeeping_.Sweep();
  EXPECT_TRUE(IsThere("HLS", id));
  AgeAll(Folder("HLS", id), 99h);  // it was used, on a clock that has jumped since
  housekeeping_.Sweep();
  EXPECT_TRUE(IsThere("HLS", id));
  Housekeeping().Sweep();
  EXPECT_TRUE(IsThere("HLS", id)) << "the first look of another process";
  housekeeping_.Sweep();
  EXPECT_FALSE(IsThere("HLS", id));
}

TEST_F(HousekeepingTest, KeepsAStreamFromTheFuture) {
  const std::string id = Open("HLS");
  AgeAll(Folder("HLS", id), std::chrono::hours(-87'600));
  SweepTwice();
  EXPECT_TRUE(IsThere("HLS", id));
}

TEST_F(HousekeepingTest, KeepsAStreamWithAnEncoderAtWork) {
  const std::string id = Open("HLS");
  fs::create_directory(Folder("HLS", id) / "work");
  Put(Folder("HLS", id) / "work/job.lock");
  Put(Folder("HLS", id) / "lock");
  AgeAll(Folder("HLS", id), 100h);
  {
    const base::Descriptor job = TakeJobLock(Folder("HLS", id) / "work/job.lock");
    SweepTwice();
    EXPECT_TRUE(IsThere("HLS", id));
  }
  {
    const base::Descriptor deciding(::open((Folder("HLS", id) / "lock").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(deciding.Get(), LOCK_EX), 0);
    SweepTwice();
    EXPECT_TRUE(IsThere("HLS", id)) << "somebody decides about a job";
  }
  SweepTwice();
  EXPECT_FALSE(IsThere("HLS", id));
}

TEST_F(HousekeepingTest, RemovesWorkingFoldersThatNoLinkLeadsTo) {
  const std::string orphan = Open("HLS");
  const std::string bent = Open("HLS");
  fs::remove(Link("HLS", orphan));
  fs::remove(Link("HLS", bent));
  fs::create_symlink("/elsewhere", Link("HLS", bent));
  housekeeping_.Sweep();
  EXPECT_TRUE(fs::exists(Folder("HLS", orphan))) << "it may be one whose link is just being made";
  housekeeping_.Sweep();
  EXPECT_FALSE(fs::exists(Folder("HLS", orphan)));
  EXPECT_FALSE(fs::exists(Folder("HLS", bent)));
  EXPECT_FALSE(fs::exists(fs::symlink_status(Link("HLS", bent)))) << "a link that leads nowhere";
}

TEST_F(HousekeepingTest, RemovesOrphansAlsoWhenTheWholeWorkspaceIsGone) {
  const std::string id = Open("SS");
  fs::remove_all(fs::path(system::kWorkspace) / "SS");
  SweepTwice();
  EXPECT_FALSE(fs::exists(Folder("SS", id)));
}

TEST_F(HousekeepingTest, RemovesDanglingLinks) {
  const std::string id = Open("HLS");
  fs::remove_all(Folder("HLS", id));
  housekeeping_.Sweep();
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(Link("HLS", id))));
  housekeeping_.Sweep();
  EXPECT_FALSE(fs::is_symlink(fs::symlink_status(Link("HLS", id))));
}

TEST_F(HousekeepingTest, FindsStreamsOnAVolumeThatIsSetNoMore) {
  const std::string id = Open("HLS");
  AgeAll(Folder("HLS", id), 100h);
  std::ofstream(system::kSettingsFile) << "volumes=\"/nonexistent\"\n";
  SweepTwice();
  EXPECT_FALSE(IsThere("HLS", id));
}

TEST_F(HousekeepingTest, LeavesAloneWhatIsNoStream) {
  const fs::path streams = Folder("HLS", "x").parent_path();
  const std::string id = Open("HLS");  // makes the places
  const std::string odd_ids[] = {"films", "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567", std::string(31, 'a'),
                                 std::string(33, 'a'), std::string(31, 'a') + "1"};
  for (const std::string& name : odd_ids) {
    fs::create_directory(streams / name);
    Put(streams / name / "film.mkv");
    AgeAll(streams / name, 100h);
    fs::create_symlink("/nonexistent", Link("HLS", name));
  }
  Put(streams / std::string(32, 'a'));  // no folder
  fs::create_directories(volume_ / "@tmp/Kinora/films" / std::string(32, 'a'));
  const fs::path deep = streams / std::string(32, 'b');
  fs::create_directories(deep / "season");
  Put(deep / "season/film.mkv");
  AgeAll(deep, 100h);
  const fs::path deeper = streams / std::string(32, 'c');
  fs::create_directories(deeper / "work/season");
  AgeAll(deeper, 100h);
  const fs::path linked = streams / std::string(32, 'd');
  fs::create_directory(linked);
  fs::create_symlink("/etc/passwd", linked / "filepath");
  SweepTwice();
  for (const std::string& name : odd_ids) {
    EXPECT_TRUE(fs::exists(streams / name / "film.mkv")) << name;
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(Link("HLS", name)))) << name;
  }
  EXPECT_TRUE(fs::exists(streams / std::string(32, 'a')));
  EXPECT_TRUE(fs::exists(volume_ / "@tmp/Kinora/films" / std::string(32, 'a')));
  EXPECT_TRUE(fs::exists(deep / "season/film.mkv"));
  EXPECT_TRUE(fs::exists(deeper / "work/season"));
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(linked / "filepath")));
  EXPECT_TRUE(IsThere("HLS", id));
}

// A volume setting that points at somebody's library, and links that lead there.
TEST_F(HousekeepingTest, FollowsNoLinkOutOfItsPlaces) {
  const fs::path library = fs::path(testing::TempDir()) / "library";
  fs::create_directories(library / std::string(32, 'a'));
  Put(library / std::string(32, 'a') / "film.mkv");
  AgeAll(library, 100h);
  std::ofstream(system::kSettingsFile) << "volumes=\"" << library.string() << "\"\n";
  fs::create_directories(library / "@tmp/Kinora");
  fs::create_symlink(library, library / "@tmp/Kinora/HLS");
  const std::string id = std::string(32, 'a');
  fs::create_directories(Link("HLS", id).parent_path());
  fs::create_symlink(library / id, Link("HLS", id));
  SweepTwice();
  EXPECT_TRUE(fs::exists(library / id / "film.mkv"));
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(Link("HLS", id)))) << "it leads somewhere";
  fs::remove_all(library);
}

TEST_F(HousekeepingTest, LeavesAloneWhatBelongsToAnotherAccount) {
  const std::string id = Open("HLS");
  AgeAll(Folder("HLS", id), 100h);
  if (::lchown(Folder("HLS", id).c_str(), kSomebodyElse, kSomebodyElse) != 0)
    GTEST_SKIP() << "needs two identities";
  SweepTwice();
  EXPECT_TRUE(IsThere("HLS", id));
}

TEST_F(HousekeepingTest, DoesNothingWhereThereIsNothing) {
  fs::remove_all(fs::path(system::kVar) / "@tmp");
  SweepTwice();
  EXPECT_FALSE(fs::exists(fs::path(system::kVar) / "@tmp"));
}

}  // namespace
}  // namespace kinora::engine
