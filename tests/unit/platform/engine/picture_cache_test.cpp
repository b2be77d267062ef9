#include "platform/engine/picture_cache.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

std::string MediaFile(const std::string& name) { return std::string(KINORA_MEDIA_DIR) + "/" + name; }

std::string Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

mode_t ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

void SetTime(const std::string& path, time_t seconds) {
  const timespec times[] = {{seconds, 0}, {seconds, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

class PictureCache : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(::mkdtemp(folder_.data()), nullptr);
    film_ = folder_ + "/film.mp4";
    PutFilm("silent.mp4", 1'000'000'000);
  }
  void TearDown() override {
    fs::remove_all(folder_);
    fs::remove_all(system::kPictureCache);
  }

  void PutFilm(const std::string& name, time_t time) const {
    fs::copy_file(MediaFile(name), film_, fs::copy_options::overwrite_existing);
    SetTime(film_, time);
  }

  // The files of the cache with the extension.
  static std::vector<std::string> Kept(const std::string& extension) {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(system::kPictureCache)) {
      if (entry.path().extension() == extension) found.push_back(entry.path());
    }
    return found;
  }

  std::string folder_ = testing::TempDir() + "kinora-pictures.XXXXXX";
  std::string film_;
};

TEST_F(PictureCache, KeepsWhatItHasTaken) {
  const std::optional<std::string> picture = PictureOf(film_, 320);
  ASSERT_TRUE(picture);
  EXPECT_TRUE(picture->starts_with(system::kPictureCache));
  EXPECT_TRUE(Content(*picture).starts_with("\xFF\xD8\xFF"));
  EXPECT_EQ(ModeOf(*picture), 0600U);
  EXPECT_EQ(ModeOf(system::kPictureCache), 0700U);
  std::ofstream(*picture) << "as it was";
  EXPECT_EQ(PictureOf(film_, 320), picture);
  EXPECT_EQ(Content(*picture), "as it was");
}

TEST_F(PictureCache, TakesTheWidthUpToTheNextStep) {
  const std::optional<std::string> picture = PictureOf(film_, 320);
  ASSERT_TRUE(picture);
  EXPECT_TRUE(picture->ends_with("-320.jpg"));
  EXPECT_EQ(PictureOf(film_, 161), picture);
  EXPECT_TRUE(PictureOf(film_, -1)->ends_with("-160.jpg"));
  EXPECT_TRUE(PictureOf(film_, 321)->ends_with("-480.jpg"));
  EXPECT_TRUE(PictureOf(film_, 1'000'000)->ends_with("-1280.jpg"));
  EXPECT_EQ(Kept(".jpg").size(), 4U);
}

TEST_F(PictureCache, TakesANewPictureOfAChangedFilmAndDropsTheOld) {
  const std::optional<std::string> before = PictureOf(film_, 320);
  PictureOf(film_, 640);
  PutFilm("black_start.mp4", 1'000'000'001);
  const std::optional<std::string> after = PictureOf(film_, 320);
  ASSERT_TRUE(before);
  ASSERT_TRUE(after);
  EXPECT_NE(before, after);
  EXPECT_EQ(Kept(".jpg"), std::vector<std::string>{*after});
}

TEST_F(PictureCache, TellsFilmsApartByTheirPath) {
  const std::string other = folder_ + "/other.mp4";
  fs::copy_file(film_, other);
  SetTime(other, 1'000'000'000);
  EXPECT_NE(PictureOf(film_, 320), PictureOf(other, 320));
}

// The film is exchanged for a good one without a trace in its size and time: only a helper would notice.
TEST_F(PictureCache, RemembersForADayThatThereIsNoPicture) {
  const std::string good = Content(film_);
  std::ofstream(film_) << std::string(good.size(), 'x');
  SetTime(film_, 1'000'000'000);
  EXPECT_FALSE(PictureOf(film_, 320));
  std::ofstream(film_) << good;
  SetTime(film_, 1'000'000'000);
  EXPECT_FALSE(PictureOf(film_, 320));

  const std::vector<std::string> refusals = Kept(".none");
  ASSERT_EQ(refusals.size(), 1U);
  struct stat status {};
  ASSERT_EQ(::stat(refusals[0].c_str(), &status), 0);
  EXPECT_NEAR(static_cast<double>(status.st_mtime - ::time(nullptr)), 86'400, 60);
  SetTime(refusals[0], ::time(nullptr) - 1);
  EXPECT_TRUE(PictureOf(film_, 320));
}

TEST_F(PictureCache, RemembersForAMinuteThatAFilmIsCutOff) {
  fs::copy_file(MediaFile("moov_last.mp4"), film_, fs::copy_options::overwrite_existing);
  fs::resize_file(film_, fs::file_size(film_) / 2);
  EXPECT_FALSE(PictureOf(film_, 320));
  const std::vector<std::string> refusals = Kept(".none");
  ASSERT_EQ(refusals.size(), 1U);
  struct stat status {};
  ASSERT_EQ(::stat(refusals[0].c_str(), &status), 0);
  EXPECT_NEAR(static_cast<double>(status.st_mtime - ::time(nullptr)), 60, 30);
}

TEST_F(PictureCache, KeepsNothingOfFilesThatAreNotThere) {
  EXPECT_FALSE(PictureOf(folder_ + "/missing.mp4", 320));
  EXPECT_FALSE(PictureOf(folder_, 320));
  EXPECT_FALSE(PictureOf("", 320));
  EXPECT_FALSE(fs::exists(system::kPictureCache));
}

// Several ask at once while somebody else is at it: they wait, and take what is there then.
TEST_F(PictureCache, IsMadeOnceForSeveralThatAskAtTheSameTime) {
  const std::optional<std::string> picture = PictureOf(film_, 320);
  ASSERT_TRUE(picture);
  fs::remove(*picture);
  const std::string lock_path = fs::path(*picture).parent_path() / "lock";
  base::Descriptor lock(::open(lock_path.c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(::flock(lock.Get(), LOCK_EX), 0);
  std::vector<std::optional<std::string>> answers(4);
  std::vector<std::thread> askers;
  for (auto& answer : answers) askers.emplace_back([&] { answer = PictureOf(film_, 320); });
  // Whether or not they have come to the lock yet, none of them may take a picture of its own.
  std::ofstream(*picture) << "taken by somebody else";
  lock.Reset();
  for (std::thread& asker : askers) asker.join();
  for (const auto& answer : answers) EXPECT_EQ(answer, picture);
  EXPECT_EQ(Content(*picture), "taken by somebody else");
}

TEST_F(PictureCache, SweepsScratchFilesOfThoseWhoDied) {
  const std::optional<std::string> picture = PictureOf(film_, 320);
  ASSERT_TRUE(picture);
  const std::string scratch = *picture + ".a1B2c3";
  std::ofstream(scratch) << "half";
  EXPECT_TRUE(PictureOf(film_, 640));
  EXPECT_FALSE(fs::exists(scratch));
  EXPECT_TRUE(fs::exists(*picture));
}

TEST_F(PictureCache, KeepsThePicturesOfTheFilmsThatThereAre) {
  const std::string other = folder_ + "/other.mp4";
  fs::copy_file(film_, other);
  ASSERT_TRUE(PictureOf(film_, 320));
  const std::optional<std::string> kept = PictureOf(other, 320);
  for (int i = 0; i < 2; ++i) {
    KeepPicturesOf([&] { return std::vector<std::string>{other, folder_ + "/new.mp4"}; });
    EXPECT_EQ(Kept(".jpg"), std::vector<std::string>{*kept});
  }
  KeepPicturesOf([] { return std::vector<std::string>(); });
  EXPECT_TRUE(fs::is_empty(system::kPictureCache));
}

TEST_F(PictureCache, KeepsThePictureOfAFilmThatComesUpMeanwhile) {
  const std::string late = folder_ + "/late.mp4";
  fs::copy_file(film_, late);
  ASSERT_TRUE(PictureOf(film_, 320));
  std::optional<std::string> taken;
  KeepPicturesOf([&] {
    taken = PictureOf(late, 320);
    return std::vector<std::string>();
  });
  ASSERT_TRUE(taken);
  EXPECT_EQ(Kept(".jpg"), std::vector<std::string>{*taken});
}

TEST_F(PictureCache, KeepsAllWhenTheFilmsCannotBeTold) {
  const std::optional<std::string> picture = PictureOf(film_, 320);
  EXPECT_THROW(KeepPicturesOf([]() -> std::vector<std::string> { throw std::runtime_error("locked"); }),
               std::runtime_error);
  EXPECT_EQ(Kept(".jpg"), std::vector<std::string>{*picture});
}

TEST_F(PictureCache, RemovesNothingThatIsBeingTakenOrIsNotItsOwn) {
  const std::optional<std::string> picture = PictureOf(film_, 320);
  const fs::path foreign = std::string(system::kPictureCache) + "/lost+found/holiday";
  fs::create_directories(foreign);
  fs::create_directory_symlink(folder_, fs::path(*picture).parent_path().parent_path() / "link");
  const fs::path lock = fs::path(*picture).parent_path() / "lock";
  base::Descriptor held(::open(lock.c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(::flock(held.Get(), LOCK_EX), 0);
  KeepPicturesOf([] { return std::vector<std::string>(); });
  EXPECT_TRUE(fs::exists(*picture));
  held.Reset();
  KeepPicturesOf([] { return std::vector<std::string>(); });
  EXPECT_FALSE(fs::exists(*picture));
  EXPECT_TRUE(fs::exists(foreign));
  EXPECT_TRUE(fs::exists(film_));
}

TEST_F(PictureCache, GivesNothingWhenItCannotBeWritten) {
  std::ofstream(system::kPictureCache) << "in the way";
  EXPECT_FALSE(PictureOf(film_, 320));
  EXPECT_EQ(Content(system::kPictureCache), "in the way");
}

}  // namespace
}  // namespace kinora::engine
