#include "contract/system/process_runner.h"

#include "tests/unit/platform/system/child_fixture.h"

namespace kinora::system {
namespace {

using CRVNUtils::ProcessRunner;

class ProcessRunnerTest : public ChildTest {
 protected:
  ProcessRunner Runner() const { return ProcessRunner(stub_.c_str(), stub_.c_str()); }
  int RunStub(const char* what, const char* more = nullptr) const {
    ProcessRunner runner = Runner();
    runner.addArguments(what, more);
    return runner.run(true, false);
  }
};

TEST_F(ProcessRunnerTest, GivesTheExitStatus) {
  EXPECT_EQ(RunStub("exit", "0"), 0);
  EXPECT_EQ(RunStub("exit", "9"), 9);
}

TEST_F(ProcessRunnerTest, IsNegativeWhenNothingRanOrASignalEndedIt) {
  EXPECT_LT(RunStub("abort"), 0);
  const std::string missing = folder_ / "missing";
  EXPECT_LT(ProcessRunner(missing.c_str(), missing.c_str()).run(true, false), 0);
  EXPECT_LT(ProcessRunner("stub", "stub").run(true, false), 0);
  EXPECT_LT(ProcessRunner(nullptr, static_cast<const char*>(nullptr)).run(true, false), 0);
}

TEST_F(ProcessRunnerTest, RefusesWhatItDoesNotDo) {
  EXPECT_LT(ProcessRunner(stub_.c_str(), "another").run(true, false), 0);
  EXPECT_LT(Runner().run(false, false), 0);
}

TEST_F(ProcessRunnerTest, HandsTheArgumentsOnInOrderUpToTheFirstNull) {
  ProcessRunner runner("/bin/echo", "/bin/echo");
  runner.addArguments("1", "2", "3", "4", "5", "6", "7", "8", "9 $HOME");
  runner.addArguments("a", nullptr, "b");
  runner.addArguments(nullptr, "c");
  EXPECT_EQ(runner.run(true, true), 0);
  EXPECT_EQ(runner.getCapturedOutput(), "1 2 3 4 5 6 7 8 9 $HOME a\n");
}

TEST_F(ProcessRunnerTest, TakesAllArgumentsAtOnce) {
  const char* const arguments[] = {"/bin/echo", "1", "2", "3",        "4", "5",     "6",
                                   "7",         "8", "9", "10 $HOME", "",  nullptr, "x"};
  ProcessRunner runner("/bin/echo", arguments);
  runner.addArguments("more");
  EXPECT_EQ(runner.run(true, true), 0);
  EXPECT_EQ(runner.getCapturedOutput(), "1 2 3 4 5 6 7 8 9 10 $HOME  more\n");
  EXPECT_EQ(runner.toString(), "/bin/echo 1 2 3 4 5 6 7 8 9 10 $HOME  more");
}

TEST_F(ProcessRunnerTest, RefusesArgumentsThatDoNotBeginWithTheProgram) {
  const char* const none[] = {nullptr};
  const char* const another[] = {"/bin/true", nullptr};
  EXPECT_LT(ProcessRunner("/bin/echo", none).run(true, false), 0);
  EXPECT_LT(ProcessRunner("/bin/echo", another).run(true, false), 0);
  EXPECT_LT(ProcessRunner("/bin/echo", static_cast<const char* const*>(nullptr)).run(true, false), 0);
  EXPECT_LT(ProcessRunner(nullptr, another).run(true, false), 0);
  EXPECT_EQ(ProcessRunner("/bin/echo", another).toString(), "");
}

// Not even started, so that whatever it is does not matter.
TEST_F(ProcessRunnerTest, GivesNoListsOfFilesToFfmpeg) {
  const std::string program = folder_ / "ffmpeg";
  const std::string film = folder_ / "film.mkv";
  std::filesystem::copy_file(stub_, program);
  const char* const arguments[] = {program.c_str(), "-y", "-i", film.c_str(), nullptr};
  std::ofstream(film) << "\x1A\x45\xDF\xA3";
  EXPECT_EQ(ProcessRunner(program.c_str(), arguments).run(true, false), 0);
  std::ofstream(film) << "#EXTM3U\n";
  EXPECT_LT(ProcessRunner(program.c_str(), arguments).run(true, false), 0);
}

TEST_F(ProcessRunnerTest, KeepsTheOutputAwayFromTheAnswer) {
  ProcessRunner runner = Runner();
  runner.addArguments("output", "65536");
  testing::internal::CaptureStdout();
  EXPECT_EQ(runner.run(true, false), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(runner.getCapturedOutput(), "");
  EXPECT_EQ(runner.run(true, true), 0);
  EXPECT_EQ(runner.getCapturedOutput().size(), 65536u);
}

TEST_F(ProcessRunnerTest, IsSharedByItsCopies) {
  ProcessRunner runner("/bin/echo", "/bin/echo");
  ProcessRunner copy = runner;
  copy.addArguments("x");
  EXPECT_EQ(runner.run(true, true), 0);
  EXPECT_EQ(copy.getCapturedOutput(), "x\n");
}

TEST_F(ProcessRunnerTest, LetsTheProgramWriteAFile) {
  const std::string copy = folder_ / "copy";
  const std::string source = stub_;
  ProcessRunner runner("/bin/dd", "/bin/dd");
  runner.addArguments(("if=" + source).c_str(), ("of=" + copy).c_str(), "status=none");
  EXPECT_EQ(runner.run(true, false), 0);
  EXPECT_EQ(std::filesystem::file_size(copy), std::filesystem::file_size(source));
}

TEST_F(ProcessRunnerTest, IsNeverRoot) {
  if (!MaySwitchIds()) GTEST_SKIP() << "needs root and more than one id";
  EXPECT_EQ(InOwnProcess([this] {
              if (::setresuid(0, 12345, 12345) != 0 || ::setresuid(-1, 0, -1) != 0) return 100;
              ProcessRunner runner = Runner();
              runner.addArguments("identity");
              if (runner.run(true, true) != 0) return 101;
              const std::string said = runner.getCapturedOutput();
              return said.find("uids 12345 12345 12345") != std::string::npos &&
                             said.find("setuid(0) -1") != std::string::npos
                         ? 0
                         : 102;
            }),
            0);
}

}  // namespace
}  // namespace kinora::system
