#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <thread>

#include "contract/system/hlibc.h"

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kPatience{60};

// A process of its own calls HLIBCProcForkChildNoWait and ends with its answer; what the child does then,
// ends with the file "done" being there.
class DetachedForkTest : public testing::Test {
 protected:
  DetachedForkTest() {
    std::string name = testing::TempDir() + "detached-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~DetachedForkTest() override { fs::remove_all(folder_); }

  // The exit status of the calling process.
  int Call(const std::function<void()>& before, const std::function<std::string()>& child) const {
    const pid_t pid = ::fork();
    if (pid == 0) {
      before();
      const int answer = HLIBCProcForkChildNoWait();
      if (answer != 0) ::_exit(answer < 0 ? 99 : answer);
      const std::string said = child();
      std::ofstream(folder_ / "said") << said;
      fs::rename(folder_ / "said", folder_ / "done");
      std::exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    caller_ = pid;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  }

  // What the child has said.
  std::string Said() const {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!fs::exists(folder_ / "done") && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::ifstream file(folder_ / "done");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static void Nothing() {}

  fs::path folder_;
  mutable pid_t caller_ = -1;
};

std::string OpenDescriptors() {
  std::ostringstream text;
  for (int fd = 0; fd < 1024; ++fd) {
    if (::fcntl(fd, F_GETFD) == -1) continue;
    text << fd << " " << fs::read_symlink("/proc/self/fd/" + std::to_string(fd)).native() << "\n";
  }
  return text.str();
}

TEST_F(DetachedForkTest, AnswersOneToTheCaller) {
  EXPECT_EQ(Call(Nothing, [] { return std::string("x"); }), 1);
  EXPECT_EQ(Said(), "x");
}

TEST_F(DetachedForkTest, HasNoDescriptorButTheStandardOnes) {
  const auto open_more = [this] {
    ::dup2(::open((folder_ / "lock").c_str(), O_RDWR | O_CREAT, 0600), 100);
    ::flock(100, LOCK_EX);
  };
  EXPECT_EQ(Call(open_more, OpenDescriptors), 1);
  EXPECT_EQ(Said(), "0 /dev/null\n1 /dev/null\n2 /dev/null\n");
  const int lock = ::open((folder_ / "lock").c_str(), O_RDWR);
  EXPECT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0) << "the caller's lock went with the caller";
  ::close(lock);
}

TEST_F(DetachedForkTest, NeedsNoOpenDescriptor) {
  EXPECT_EQ(Call([] { ::close_range(0, ~0U, 0); }, OpenDescriptors), 1);
  EXPECT_EQ(Said(), "0 /dev/null\n1 /dev/null\n2 /dev/null\n");
}

TEST_F(DetachedForkTest, LeavesItsCallersSessionAndGroup) {
  EXPECT_EQ(Call(Nothing,
                 [] {
                   std::ostringstream text;
                   text << ::getsid(0) << " " << ::getpgid(0);
                   return text.str();
                 }),
            1);
  std::istringstream said(Said());
  pid_t session = -1;
  pid_t group = -1;
  said >> session >> group;
  EXPECT_GT(session, 1);
  EXPECT_NE(session, ::getsid(0));
  EXPECT_NE(session, caller_);
  EXPECT_EQ(group, session);
}

TEST_F(DetachedForkTest, LivesOnWhenTheCallersGroupIsKilled) {
  std::ofstream(folder_ / "wait");
  EXPECT_EQ(Call([] { ::setpgid(0, 0); },
                 [this] {
                   while (fs::exists(folder_ / "wait"))
                     std::this_thread::sleep_for(std::chrono::milliseconds(1));
                   return std::string("alive");
                 }),
            1);
  ::kill(-caller_, SIGKILL);
  fs::remove(folder_ / "wait");
  EXPECT_EQ(Said(), "alive");
}

TEST_F(DetachedForkTest, WritesNothingIntoTheAnswer) {
  const auto print = [this] {
    ::dup2(::open((folder_ / "answer").c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
    std::printf("once\n");  // still in the buffer
  };
  EXPECT_EQ(Call(print,
                 [] {
                   std::printf("never\n");
                   std::fflush(stdout);
                   return std::string("printed");
                 }),
            1);
  EXPECT_EQ(Said(), "printed");
  std::ifstream answer(folder_ / "answer");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(answer), {}), "once\n");
}

TEST_F(DetachedForkTest, TellsThatThereIsNoProcess) {
  EXPECT_EQ(Call(
                [] {
                  const rlimit none{3, 3};
                  ::close_range(3, ~0U, 0);
                  ::setrlimit(RLIMIT_NOFILE, &none);
                },
                [] { return std::string(); }),
            99);
  EXPECT_FALSE(fs::exists(folder_ / "done"));
}

}  // namespace
