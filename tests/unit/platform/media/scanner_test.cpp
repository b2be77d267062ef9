#include "platform/media/scanner.h"

#include <gmock/gmock.h>
#include <soci/soci.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "platform/base/atomic_file.h"
#include "platform/base/descriptor.h"
#include "platform/media/catalog.h"
#include "platform/media/shares.h"
#include "platform/system/places.h"
#include "tests/unit/platform/media/database_file.h"
#include "tests/unit/platform/media/film_folder.h"

namespace kinora::media {
namespace {

using testing::ElementsAre;

// Answers by the file's content: "film..." is one, "bad..." cannot be understood, all else is no video.
class FakeLook {
 public:
  LookFunction Function() {
    return [this](const std::string& path) { return Look(path); };
  }
  std::vector<std::string> TakePaths() {
    const std::lock_guard lock(mutex_);
    std::ranges::sort(paths_);
    return std::exchange(paths_, {});
  }
  std::function<void(const std::string&)> before = [](const std::string&) {};

 private:
  LookResult Look(const std::string& path) {
    before(path);
    {
      const std::lock_guard lock(mutex_);
      paths_.push_back(path);
    }
    std::string content;
    std::ifstream(path) >> content;
    if (content.starts_with("bad")) return {LookResult::Kind::kUnreadable, {}, "not yet"};
    if (!content.starts_with("film")) return {LookResult::Kind::kNotAVideo, {}, "a text"};
    LookResult result;
    result.kind = LookResult::Kind::kVideo;
    result.facts.container = "mp4";
    result.facts.duration_ms = static_cast<int64_t>(content.size());
    return result;
  }

  std::mutex mutex_;
  std::vector<std::string> paths_;
};

class ScannerTest : public testing::Test {
 protected:
  ScannerTest() { Shares(store_).Add("Films", films_.Path()); }

  ScanProgress Run() { return Scan(store_, look_.Function(), {}); }
  std::vector<std::string> Listed() {
    std::vector<std::string> paths;
    for (const Video& video : Catalog(store_).List({}).videos) {
      paths.push_back(std::to_string(video.id) + " " + video.path.substr(films_.Path().string().size() + 1));
    }
    std::ranges::sort(paths);
    return paths;
  }

  DatabaseFile file_;
  FilmFolder films_;
  Store store_{file_.Path()};
  FakeLook look_;
};

TEST_F(ScannerTest, TakesUpNewVideosAndRemembersWhatIsNone) {
  films_.Put("a.mp4", "film a");
  films_.Put("b/c.mkv", "film c");
  films_.Put("text.mp4", "text");
  const ScanProgress first = Run();
  EXPECT_FALSE(first.running);
  EXPECT_EQ(first.found, 3);
  EXPECT_EQ(first.to_look_at, 3);
  EXPECT_EQ(first.looked_at, 3);
  EXPECT_EQ(first.added, 2);
  EXPECT_EQ(first.refused, 1);
  EXPECT_EQ(Catalog(store_).List({}).total, 2);
  look_.TakePaths();

  const ScanProgress second = Run();
  EXPECT_THAT(look_.TakePaths(), ElementsAre()) << "nothing has changed";
  EXPECT_EQ(second.found, 3);
  EXPECT_EQ(second.refused, 1);
  EXPECT_EQ(second.added + second.changed + second.moved + second.removed + second.waiting, 0);
}

TEST_F(ScannerTest, TakesUpFilesOfAnyDateAndKnowsThemAgain) {
  films_.Put("past.mp4", "film", 40'000'000'000);
  films_.Put("future.mp4", "film", -40'000'000'000);
  EXPECT_EQ(Run().added, 2);
  EXPECT_EQ(Run().to_look_at, 0);
}

TEST_F(ScannerTest, RemovesWhatAKilledOneLeftBesideItsProgress) {
  const std::string left = system::InVar("scan.json.a1B2c3");
  const std::string foreign = system::InVar("scan.jsonp");
  for (const std::string& path : {left, foreign}) std::ofstream(path) << "half";
  Run();
  EXPECT_FALSE(std::filesystem::exists(left));
  EXPECT_TRUE(std::filesystem::exists(foreign));
  EXPECT_TRUE(std::filesystem::exists(system::InVar("scan.json")));
  std::filesystem::remove(foreign);
}

TEST_F(ScannerTest, LooksAgainAtAChangedFileAndKeepsItsId) {
  films_.Put("a.mp4", "film");
  Run();
  look_.TakePaths();
  films_.Put("a.mp4", "filmfilm", 1800);
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.changed, 1);
  EXPECT_EQ(progress.added, 0);
  EXPECT_THAT(Listed(), ElementsAre("1 a.mp4"));
  EXPECT_EQ(Catalog(store_).Find(1)->facts.duration_ms, 8);
  EXPECT_EQ(Catalog(store_).Find(1)->size, 8);
}

TEST_F(ScannerTest, FollowsAMovedFileWithoutLookingAtIt) {
  films_.Put("a.mp4", "film a");
  films_.Put("b.mp4", "film b");
  Run();
  const auto before = Listed();
  look_.TakePaths();
  films_.Move("a.mp4", "new folder/z.mp4");
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.moved, 1);
  EXPECT_EQ(progress.removed, 0);
  EXPECT_THAT(look_.TakePaths(), ElementsAre());
  const std::string id = before[0].ends_with("a.mp4") ? before[0].substr(0, 1) : before[1].substr(0, 1);
  EXPECT_THAT(Listed(), testing::Contains(id + " new folder/z.mp4"));
  EXPECT_EQ(Catalog(store_).Find(std::stoi(id))->folder, "new folder");
  CatalogQuery query;
  query.search = "folder z";
  EXPECT_EQ(Catalog(store_).List(query).total, 1);
}

TEST_F(ScannerTest, FollowsAMoveIntoAnotherShare) {
  const FilmFolder others;
  Shares(store_).Add("Others", others.Path());
  films_.Put("a.mp4", "film a");
  Run();
  std::filesystem::rename(films_.In("a.mp4"), others.In("b.mp4"));
  EXPECT_EQ(Run().moved, 1);
  EXPECT_EQ(Catalog(store_).Find(1)->share, "Others");
  EXPECT_EQ(Catalog(store_).Find(1)->path, others.In("b.mp4"));
}

TEST_F(ScannerTest, TakesACopyForAnotherVideo) {
  films_.Put("a.mp4", "film a");
  Run();
  films_.Put("b.mp4", "film a");
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.moved, 0);
  EXPECT_EQ(progress.added, 1);
  EXPECT_THAT(Listed(), ElementsAre("1 a.mp4", "2 b.mp4"));
}

TEST_F(ScannerTest, DoesNotTakeAFileOfTheSameSizeForAMovedOne) {
  films_.Put("a.mp4", "film a");
  Run();
  films_.Drop("a.mp4");
  films_.Put("b.mp4", "film b");
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.moved, 0);
  EXPECT_EQ(progress.removed, 1);
  EXPECT_THAT(Listed(), ElementsAre("2 b.mp4"));
}

TEST_F(ScannerTest, DropsVanishedFiles) {
  films_.Put("a.mp4");
  films_.Put("b/c.mp4", "film c");
  films_.Put("text.mp4", "text");
  Run();
  films_.Drop("b");
  films_.Drop("text.mp4");
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.removed, 1);
  EXPECT_EQ(progress.refused, 0);
  EXPECT_EQ(Catalog(store_).List({}).total, 1);
}

TEST_F(ScannerTest, LosesNothingOfAShareThatIsNotThere) {
  films_.Put("a.mp4");
  Run();
  const std::string aside = films_.Path().string() + " aside";
  std::filesystem::rename(films_.Path(), aside);
  EXPECT_EQ(Run().removed, 0);
  EXPECT_EQ(Catalog(store_).List({}).total, 1);
  std::filesystem::rename(aside, films_.Path());
  look_.TakePaths();
  Run();
  EXPECT_THAT(look_.TakePaths(), ElementsAre()) << "it is as it was";
}

TEST_F(ScannerTest, LosesNothingWhenAFileSystemIsUnmounted) {
  if (::mount("none", films_.Path().c_str(), "tmpfs", 0, nullptr) != 0) GTEST_SKIP() << "cannot mount here";
  films_.Put("a.mp4");
  Run();
  ASSERT_EQ(::umount(films_.Path().c_str()), 0);
  EXPECT_EQ(Run().removed, 0);
  EXPECT_EQ(Catalog(store_).List({}).total, 1);
}

TEST_F(ScannerTest, DropsAVideoThatBecameSomethingElse) {
  films_.Put("a.mp4");
  Run();
  films_.Put("a.mp4", "text", 1800);
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.removed, 1);
  EXPECT_EQ(progress.refused, 1);
  EXPECT_EQ(Catalog(store_).List({}).total, 0);
  films_.Put("a.mp4", "film", 900);
  EXPECT_EQ(Run().added, 1);
  EXPECT_EQ(Run().refused, 0);
}

TEST_F(ScannerTest, KeepsAVideoThatCannotBeReadJustNow) {
  films_.Put("a.mp4", "film");
  Run();
  films_.Put("a.mp4", "bad.", 1800);
  EXPECT_EQ(Run().waiting, 1);
  EXPECT_EQ(Catalog(store_).List({}).total, 1);
  films_.Put("a.mp4", "film!", 1800);
  EXPECT_EQ(Run().changed, 1);
}

TEST_F(ScannerTest, LetsAFileWaitThatWasWrittenAMomentAgo) {
  films_.Put("a.mp4", "film", 0);
  EXPECT_EQ(Run().waiting, 1);
  EXPECT_THAT(look_.TakePaths(), ElementsAre());
  films_.SetAge("a.mp4", 60);
  EXPECT_EQ(Run().added, 1);
}

TEST_F(ScannerTest, LetsAFileWaitThatGrowsWhileItIsLookedAt) {
  films_.Put("a.mp4", "film");
  look_.before = [&](const std::string& path) { std::ofstream(path, std::ios::app) << "more"; };
  EXPECT_EQ(Run().waiting, 1);
  EXPECT_EQ(Catalog(store_).List({}).total, 0);
}

TEST_F(ScannerTest, TakesFilesFromTheFutureAndThePast) {
  films_.Put("future.mp4", "film", -315'360'000);
  films_.Put("past.mp4", "film", 315'360'000);
  EXPECT_EQ(Run().added, 2);
  look_.TakePaths();
  EXPECT_EQ(Run().removed, 0);
  EXPECT_THAT(look_.TakePaths(), ElementsAre());
}

TEST_F(ScannerTest, FollowsAMoveThatHadToWait) {
  films_.Put("a.mp4", "film a");
  Run();
  films_.Drop("a.mp4");
  films_.Put("b.mp4", "film a", 0);  // a copy across file systems: a new time of change
  Run();
  EXPECT_THAT(Listed(), ElementsAre("1 a.mp4"));
  films_.SetAge("b.mp4", 60);
  EXPECT_EQ(Run().moved, 1);
  EXPECT_THAT(Listed(), ElementsAre("1 b.mp4"));
}

TEST_F(ScannerTest, GoesOnWhenALookThrows) {
  films_.Put("a.mp4");
  films_.Put("b.mp4");
  look_.before = [](const std::string& path) {
    if (path.ends_with("a.mp4")) throw std::runtime_error("boom");
  };
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.added, 1);
  EXPECT_EQ(progress.waiting, 1);
}

TEST_F(ScannerTest, KeepsNamesInAnyBytesAndQuotes) {
  for (const std::string& quote : kQuotes) {
    if (quote.find('/') == std::string::npos) films_.Put("x" + quote + ".mp4");
  }
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.added, progress.found);
  EXPECT_GE(progress.added, 18);
  look_.TakePaths();
  Run();
  EXPECT_THAT(look_.TakePaths(), ElementsAre());
}

TEST_F(ScannerTest, KeepsNoVideoOfAShareThatIsRemovedMeanwhile) {
  films_.Put("a.mp4");
  look_.before = [&](const std::string&) {
    Store other(file_.Path());
    Shares(other).Remove("Films");
  };
  Run();
  EXPECT_EQ(Catalog(store_).List({}).total, 0);
}

TEST_F(ScannerTest, TellsItsProgressToAnyoneWhoAsks) {
  for (int i = 0; i < 20; ++i) films_.Put(std::to_string(i) + ".mp4");
  std::atomic<bool> seen_running{false};
  look_.before = [&](const std::string&) {
    const ScanProgress progress = LastProgress();
    if (progress.running) seen_running = true;
  };
  std::vector<ScanProgress> reports;
  Scan(store_, look_.Function(), [&](const ScanProgress& progress) { reports.push_back(progress); });
  EXPECT_TRUE(seen_running);
  ASSERT_GE(reports.size(), 2U);
  EXPECT_TRUE(reports.front().running);
  EXPECT_FALSE(reports.back().running);
  const ScanProgress last = LastProgress();
  EXPECT_FALSE(last.running);
  EXPECT_EQ(last.added, 20);
  EXPECT_EQ(last.found, 20);
  EXPECT_EQ(last.current, "");
}

TEST_F(ScannerTest, ThrowsAndFreesTheLockWhenTheDatabaseFails) {
  films_.Put("a.mp4");
  look_.before = [&](const std::string&) {
    Store(file_.Path()).Do([](soci::session& sql) { sql << "DROP TABLE files"; });
  };
  EXPECT_THROW(Run(), LibKinora::db::Failure);
  EXPECT_FALSE(LastProgress().running);
}

// Kills a scan in the middle and gives what it had written by then.
TEST_F(ScannerTest, LosesLittleWhenItIsKilled) {
  constexpr int kFiles = 400;
  for (int i = 0; i < kFiles; ++i) films_.Put(std::to_string(i) + ".mp4");
  const pid_t child = ::fork();
  if (child == 0) {
    std::atomic<int> looked{0};
    look_.before = [&](const std::string&) {
      if (++looked > 300) ::pause();
    };
    Store store(file_.Path());
    Scan(store, look_.Function(), {});
    ::_exit(0);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (Catalog(store_).List({}).total < 200 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(LastProgress().running);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_FALSE(LastProgress().running) << "its lock went with it";
  const int64_t kept = Catalog(store_).List({}).total;
  EXPECT_GE(kept, 200);
  const ScanProgress progress = Run();
  EXPECT_EQ(progress.added, kFiles - kept);
  EXPECT_EQ(Catalog(store_).List({}).total, kFiles);
}

TEST_F(ScannerTest, RunsOneAtATime) {
  films_.Put("a.mp4");
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  look_.before = [&](const std::string&) {
    if (++inside > 1) overlapped = true;
    for (int i = 0; i < 10'000; ++i) std::this_thread::yield();
    --inside;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&, i] {
      Store store(file_.Path());
      films_.Put("a.mp4", "film", 1000 + i);
      Scan(store, look_.Function(), {});
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(overlapped);
  EXPECT_THAT(Listed(), ElementsAre("1 a.mp4"));
}

TEST_F(ScannerTest, ReadsProgressFromADamagedFileAsNone) {
  Run();
  const std::string deep(2000, '[');
  for (const std::string& text :
       {std::string(), std::string("null"), std::string("[1]"), deep, std::string("{"),
        std::string("{\"running\":\"yes\",\"found\":\"x\",\"added\":1e300,\"current\":{}}")}) {
    base::WriteFileAtomically(system::InVar("scan.json"), text, 0600);
    const ScanProgress progress = LastProgress();
    EXPECT_FALSE(progress.running) << text;
    EXPECT_EQ(progress.found, 0) << text;
    EXPECT_EQ(progress.added, 0) << text;
  }
  std::filesystem::remove(system::InVar("scan.json"));
  EXPECT_EQ(LastProgress().found, 0);
}

TEST_F(ScannerTest, GoesThroughAnUnchangedTreeOfTenThousandWithinASecond) {
  for (int i = 0; i < 10'000; ++i) {
    films_.Put("folder " + std::to_string(i / 100) + "/film " + std::to_string(i) + ".mp4");
  }
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Run().added, 10'000);
  const auto middle = std::chrono::steady_clock::now();
  look_.TakePaths();
  EXPECT_EQ(Run().found, 10'000);
  const auto end = std::chrono::steady_clock::now();
  EXPECT_THAT(look_.TakePaths(), ElementsAre());
  EXPECT_LT(end - middle, std::chrono::seconds(1));
  const auto milliseconds = [](auto time) {
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
  };
  RecordProperty("first scan, ms", milliseconds(middle - begin));
  RecordProperty("second scan, ms", milliseconds(end - middle));
}

}  // namespace
}  // namespace kinora::media
