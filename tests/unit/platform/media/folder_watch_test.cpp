#include "platform/media/folder_watch.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <string>

#include "tests/unit/platform/media/film_folder.h"

namespace kinora::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kQuiet{20};
constexpr seconds kLong{10};         // never waited for when all is well
constexpr milliseconds kShort{200};  // for what must not be told of

class FolderWatchTest : public testing::Test {
 protected:
  FilmFolder films_;
};

TEST_F(FolderWatchTest, TellsOfANewAChangedAMovedAndARemovedVideo) {
  films_.Put("old.mp4");
  FolderWatch watch({films_.Path()}, kQuiet);
  EXPECT_EQ(watch.Gap(), "");
  EXPECT_FALSE(watch.Wait(kShort));
  films_.Put("new.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
  EXPECT_FALSE(watch.Wait(kShort)) << "once";
  films_.Put("old.mp4", "more");
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Move("old.mp4", "older.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Drop("new.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
}

TEST_F(FolderWatchTest, TellsOfWhatHappensInFoldersOldAndNew) {
  films_.Put("a/b/c.mp4");
  FolderWatch watch({films_.Path()}, kQuiet);
  films_.Put("a/b/d.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
  std::filesystem::create_directories(films_.In("new/folder"));
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Put("new/folder/e.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Move("new", "renamed");
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Put("renamed/folder/f.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Drop("renamed");
  EXPECT_TRUE(watch.Wait(kLong));
}

TEST_F(FolderWatchTest, TakesManyChangesForOne) {
  FolderWatch watch({films_.Path()}, kQuiet);
  for (int i = 0; i < 500; ++i) films_.Put(std::to_string(i) + ".mp4");
  EXPECT_TRUE(watch.Wait(kLong));
  EXPECT_FALSE(watch.Wait(kShort));
}

TEST_F(FolderWatchTest, CountsNeitherHiddenNamesNorOtherFiles) {
  films_.Put("a.mp4");
  FolderWatch watch({films_.Path()}, kQuiet);
  films_.Put("a.srt", "1");
  films_.Put(".kinora/a.mp4/cache");
  films_.Put(".a.mp4");
  EXPECT_FALSE(watch.Wait(kShort));
}

TEST_F(FolderWatchTest, WatchesSeveralFolders) {
  const FilmFolder others;
  FolderWatch watch({films_.Path(), others.Path()}, kQuiet);
  others.Put("a.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Put("a.mp4");
  EXPECT_TRUE(watch.Wait(kLong));
}

TEST_F(FolderWatchTest, TellsOfAChangeWhenMoreHappenedThanTheSystemKeeps) {
  FolderWatch watch({films_.Path()}, kQuiet);
  int kept = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> kept;
  if (kept <= 0 || kept > 100'000) GTEST_SKIP() << "the limit is " << kept;
  films_.Put("a.mp4");
  films_.Put("b.mp4");
  for (int i = 0; i < kept; ++i) films_.SetAge(i % 2 == 0 ? "a.mp4" : "b.mp4", i);
  EXPECT_TRUE(watch.Wait(kLong));
  films_.Put("c.mp4");
  EXPECT_TRUE(watch.Wait(kLong)) << "and goes on";
}

TEST_F(FolderWatchTest, SaysThatAMissingFolderGoesUnnoticed) {
  FolderWatch watch({films_.In("none"), films_.Path()}, kQuiet);
  EXPECT_EQ(watch.Gap(), films_.In("none") + " cannot be read");
  std::filesystem::create_directory(films_.In("none"));
  EXPECT_TRUE(watch.Wait(kLong)) << "the other is watched all the same";
  EXPECT_EQ(watch.Gap(), "");
}

TEST_F(FolderWatchTest, SaysThatNothingCanBeWatchedAndWaitsAllTheSame) {
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  rlimit none = before;
  none.rlim_cur = 0;
  ::setrlimit(RLIMIT_NOFILE, &none);
  FolderWatch watch({films_.Path()}, kQuiet);
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(watch.Gap(), "folders cannot be watched: Too many open files");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(watch.Wait(milliseconds(50)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(50));
}

}  // namespace
}  // namespace kinora::media
