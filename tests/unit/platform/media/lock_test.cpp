#include "contract/media/lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <thread>

#include "contract/system/hlibc.h"

namespace LibKinora {
namespace {

namespace fs = std::filesystem;

class LockTest : public testing::Test {
 protected:
  LockTest() {
    std::string name = testing::TempDir() + "lock-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    path_ = folder_ / "a.lock";
  }
  ~LockTest() override { fs::remove_all(folder_); }

  static bool CanTake(const std::string& path) { return Lock(path, false).IsLockSucess(); }

  fs::path folder_;
  std::string path_;
};

TEST_F(LockTest, IsHeldByOneOnly) {
  std::optional<Lock> first(std::in_place, path_, false);
  EXPECT_TRUE(first->IsLockSucess());
  EXPECT_FALSE(CanTake(path_));
  EXPECT_TRUE(CanTake(folder_ / "b.lock"));
  first.reset();
  EXPECT_TRUE(CanTake(path_));
}

TEST_F(LockTest, IsHeldUntilItsLastCopyGoes) {
  std::optional<Lock> first(std::in_place, path_, false);
  std::optional<Lock> copy = first;
  first.reset();
  EXPECT_FALSE(CanTake(path_));
  copy.reset();
  EXPECT_TRUE(CanTake(path_));
}

TEST_F(LockTest, LeavesTheFileAndItsContent) {
  std::ofstream(path_) << "somebody's";
  EXPECT_TRUE(CanTake(path_));
  std::ifstream file(path_);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "somebody's");
}

TEST_F(LockTest, GoesWithAProcessThatIsKilled) {
  std::array<int, 2> told{};
  ASSERT_EQ(::pipe(told.data()), 0);
  const pid_t pid = ::fork();
  if (pid == 0) {
    const Lock lock(path_, false);
    const char held = lock.IsLockSucess() ? 'y' : 'n';
    if (::write(told[1], &held, 1) != 1) ::_exit(1);
    while (true) ::pause();
  }
  char held = 0;
  ASSERT_EQ(::read(told[0], &held, 1), 1);
  EXPECT_EQ(held, 'y');
  EXPECT_FALSE(CanTake(path_));
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  EXPECT_TRUE(CanTake(path_));
  ::close(told[0]);
  ::close(told[1]);
}

TEST_F(LockTest, IsNotHeldByProgramsThatAreStarted) {
  const Lock lock(path_, false);
  ASSERT_EQ(HLIBCExec("/bin/sh", "-c", ("! readlink /proc/$$/fd/* | grep -qF " + path_).c_str(),
                      static_cast<const char*>(nullptr)),
            0);
}

TEST_F(LockTest, IsLostWhenItsFileIsRemoved) {
  const Lock first(path_, false);
  fs::remove(path_);
  EXPECT_FALSE(first.IsLockSucess());
  const Lock second(path_, false);
  EXPECT_TRUE(second.IsLockSucess());
  EXPECT_FALSE(first.IsLockSucess());
}

// The holder removes the file before it lets go, as who has finished does.
TEST_F(LockTest, IsOfTheFileThatIsThereForWhoHasWaited) {
  std::optional<Lock> first(std::in_place, path_, false);
  std::atomic<bool> has_got = false;
  std::atomic<bool> may_end = false;
  std::atomic<bool> held = false;
  std::thread waiting([&] {
    const Lock lock(path_, true);
    held = lock.IsLockSucess();
    has_got = true;
    while (!may_end) std::this_thread::yield();
  });
  fs::remove(path_);
  first.reset();
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!has_got && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_TRUE(held);
  EXPECT_FALSE(CanTake(path_));
  may_end = true;
  waiting.join();
  EXPECT_TRUE(CanTake(path_));
}

TEST_F(LockTest, LocksNothingButPlainFiles) {
  std::ofstream(folder_ / "file") << "x";
  fs::create_symlink(folder_ / "file", folder_ / "link");
  fs::create_symlink(folder_ / "made", folder_ / "dangling");
  fs::create_hard_link(folder_ / "file", folder_ / "second name");
  fs::create_directory(folder_ / "folder");
  ASSERT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  for (const char* name : {"link", "dangling", "second name", "folder", "pipe", "nowhere/a.lock", ""}) {
    EXPECT_FALSE(CanTake(folder_ / name)) << name;
    EXPECT_FALSE(Lock(folder_ / name, true).IsLockSucess()) << name;
  }
  EXPECT_FALSE(fs::exists(folder_ / "made"));
  EXPECT_FALSE(CanTake(""));
}

TEST_F(LockTest, IsForItsOwnersEyesOnly) {
  const Lock lock(path_, false);
  struct stat info {};
  ASSERT_EQ(::stat(path_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
}

}  // namespace
}  // namespace LibKinora
