#include "contract/system/file_output.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
using libkn::critical::file_outputer::OutputFile;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class FileOutputTest : public testing::Test {
 protected:
  FileOutputTest() {
    std::string name = testing::TempDir() + "output-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    std::ofstream(folder_ / "film.mp4") << "0123456789";
  }
  ~FileOutputTest() override { fs::remove_all(folder_); }

  struct Run {
    std::string output;
    int status = -1;
  };

  // Runs the function in a process whose standard output is a pipe that is read to its end.
  // Something may be done when the first bytes have come.
  Run InOwnProcess(
      const std::function<int()>& function, const std::function<void()>& midway = [] {}) const {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::signal(SIGPIPE, SIG_IGN);
      ::dup2(ends[1], STDOUT_FILENO);
      ::close(ends[0]);
      ::close(ends[1]);
      const int status = function();
      std::fflush(nullptr);
      ::_exit(status);
    }
    ::close(ends[1]);
    Run run;
    char buffer[4096];
    for (ssize_t got; (got = ::read(ends[0], buffer, sizeof(buffer))) > 0;) {
      if (run.output.empty()) midway();
      run.output.append(buffer, static_cast<size_t>(got));
    }
    ::close(ends[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1000;
    return run;
  }

  Run Output(const std::string& path) const {
    return InOwnProcess([&path] {
      std::printf("Accept-Ranges: bytes\r\n");  // still in the buffer
      return OutputFile(path, "video/mp4") ? 0 : 1;
    });
  }

  fs::path folder_;
};

TEST_F(FileOutputTest, WritesBehindWhatTheCallerHasWritten) {
  const Run run = Output(folder_ / "film.mp4");
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output,
              AllOf(StartsWith("Accept-Ranges: bytes\r\nStatus: 200 OK\r\nContent-Type: video/mp4\r\n"
                               "Content-Length: 10\r\n"),
                    EndsWith("\r\n\r\n0123456789")));
}

TEST_F(FileOutputTest, FollowsALinkInAShare) {
  fs::create_symlink(folder_ / "film.mp4", folder_ / "link.mp4");
  EXPECT_THAT(Output(folder_ / "link.mp4").output, EndsWith("0123456789"));
}

TEST_F(FileOutputTest, WritesNothingAndFailsForWhatIsNoPlainFile) {
  ASSERT_EQ(::mkfifo((folder_ / "fifo").c_str(), 0600), 0);
  fs::create_symlink(folder_ / "nowhere", folder_ / "dangling");
  for (const std::string& path : {(folder_ / "missing").string(), (folder_ / "fifo").string(),
                                  (folder_ / "dangling").string(), folder_.string(), std::string("/dev/zero"),
                                  std::string(), (folder_ / "film.mp4").string() + std::string("\0x", 2)}) {
    const Run run = Output(path);
    EXPECT_EQ(run.status, 1) << path;
    EXPECT_EQ(run.output, "Accept-Ranges: bytes\r\n") << path;
  }
}

TEST_F(FileOutputTest, IsACompleteAnswerByItself) {
  const std::string path = folder_ / "film.mp4";
  const Run run = InOwnProcess([&path] { return HTTPFileOutputer::Output(path.c_str(), "text/xml"); });
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output,
              AllOf(StartsWith("Accept-Ranges: bytes\r\nStatus: 200 OK\r\nContent-Type: text/xml\r\n"),
                    EndsWith("\r\n\r\n0123456789")));
}

TEST_F(FileOutputTest, IsNotZeroWhenTheFileCannotBeOpened) {
  const Run run = InOwnProcess([] {
    const bool failed = HTTPFileOutputer::Output("/no/such/file", "text/xml") != 0 &&
                        HTTPFileOutputer::Output(nullptr, nullptr) != 0;
    return failed ? 0 : 1;
  });
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "");
}

TEST_F(FileOutputTest, AnswersWhatTheEnvironmentAsks) {
  const std::string path = folder_ / "film.mp4";
  ::setenv("REQUEST_METHOD", "GET", 1);
  ::setenv("HTTP_RANGE", "bytes=-2", 1);
  EXPECT_THAT(Output(path).output,
              AllOf(HasSubstr("Status: 206 Partial Content\r\n"), EndsWith("\r\n\r\n89")));
  ::setenv("REQUEST_METHOD", "HEAD", 1);
  EXPECT_THAT(Output(path).output, AllOf(HasSubstr("Content-Length: 10\r\n"), EndsWith("\r\n\r\n")));
  ::unsetenv("REQUEST_METHOD");
  ::unsetenv("HTTP_RANGE");
}

TEST_F(FileOutputTest, FailsAndLetsNothingFollowWhenTheFileBecomesShorter) {
  const std::string path = folder_ / "long.mp4";
  std::ofstream(path) << std::string(10 << 20, 'x');
  const Run run = InOwnProcess(
      [&path] {
        if (OutputFile(path, "video/mp4")) return 1;
        std::printf("Status: 500 Internal Server Error\r\n");
        return 0;
      },
      [&path] { fs::resize_file(path, 100); });
  EXPECT_EQ(run.status, 0);
  // Not shown when they fail: megabytes. What was on its way may have lost its content, but it ends too
  // early.
  EXPECT_TRUE(run.output.find("Content-Length: 10485760\r\n") != std::string::npos);
  EXPECT_TRUE(run.output.find("Internal Server Error") == std::string::npos);
  EXPECT_LT(run.output.size(), 9U << 20);
}

TEST_F(FileOutputTest, FailsWhenTheReaderGoesAway) {
  const std::string path = folder_ / "film.mp4";
  const Run run = InOwnProcess([&path] {
    int ends[2];
    if (::pipe(ends) != 0) return 2;
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[1]);
    ::close(ends[0]);
    return OutputFile(path, "video/mp4") ? 3 : 0;
  });
  EXPECT_EQ(run.status, 0);
}

TEST(SetFastOutputEnabled, CanOnlyBeSwitchedOff) {
  EXPECT_TRUE(CRVN::HTTP::FileOutputerHelper::SetFastOutputEnabled(false));
  EXPECT_FALSE(CRVN::HTTP::FileOutputerHelper::SetFastOutputEnabled(true));
}

}  // namespace
}  // namespace kinora::system
