#include "platform/system/child.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <pwd.h>
#include <sys/resource.h>

#include <filesystem>
#include <limits>

#include "platform/base/descriptor.h"
#include "platform/system/spawn.h"
#include "tests/unit/platform/system/child_fixture.h"

namespace kinora::system {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using End = ChildResult::End;

class RunChildTest : public ChildTest {
 protected:
  Command Stub(const std::vector<std::string>& arguments) const {
    Command command;
    command.arguments = {stub_};
    command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
    command.limits.file_size = 64;  // for the grandchild's number
    return command;
  }
  ChildResult Run(const std::vector<std::string>& arguments) const { return RunChild(Stub(arguments)); }
};

TEST_F(RunChildTest, GivesOutputAndExitStatus) {
  EXPECT_TRUE(Run({"exit", "0"}).Succeeded());
  const ChildResult result = Run({"exit", "7"});
  EXPECT_EQ(result.end, End::kExited);
  EXPECT_EQ(result.status, 7);
  EXPECT_FALSE(result.Succeeded());
}

TEST_F(RunChildTest, TellsTheSignalThatEndedIt) {
  const ChildResult result = Run({"abort"});
  EXPECT_EQ(result.end, End::kSignalled);
  EXPECT_EQ(result.status, SIGABRT);
}

// Such as one of a checkout in root's home: the child's own rights do not lead there.
TEST_F(RunChildTest, ExecutesAProgramThatOnlyTheParentCanReach) {
  const std::filesystem::path closed = stub_.parent_path() / "closed";
  std::filesystem::create_directory(closed);
  std::filesystem::copy_file(stub_, closed / "stub");
  std::filesystem::permissions(closed, std::filesystem::perms::owner_all);
  Command command;
  command.arguments = {closed / "stub", "exit", "7"};
  const ChildResult result = RunChild(command);
  EXPECT_EQ(result.end, End::kExited);
  EXPECT_EQ(result.status, 7);
}

TEST_F(RunChildTest, PassesEveryArgumentAsItIs) {
  const std::vector<std::string> odd = {
      "arguments",       "two words", "line\nend\r", "%d%s", "-i", "--", "", "concat:/etc/passwd|x",
      "$(id)`id`;'\"\\", "\xFF\xFE"};
  std::string expected = stub_.string();
  for (const std::string& argument : odd) expected += '\0' + argument;
  EXPECT_EQ(Run(odd).output, expected);
}

TEST_F(RunChildTest, GivesAFixedEnvironmentAndNothingOfTheCallers) {
  for (const char* name : {"HTTP_PROXY", "LD_PRELOAD", "LD_LIBRARY_PATH", "PHPRC", "HOME"}) {
    ::setenv(name, "", 1);
  }
  ::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(
      Run({"surroundings"}).output,
      "PATH=/usr/local/bin:/usr/bin:/bin\nLANG=C.UTF-8\nfolder /\nleads its group 1\nSIGPIPE default 1\n"
      "limit 1073741824 1073741824\nlimit 60 61\nlimit 64 64\nlimit 0 0\nlimit 256 256\n");
}

TEST_F(RunChildTest, ClosesAllDescriptorsButTheStandardOnes) {
  const base::Descriptor open(::open("/dev/null", O_RDWR));  // not marked to close itself
  const base::Descriptor high(::fcntl(open.Get(), F_DUPFD, 200));
  EXPECT_EQ(Run({"descriptors"}).output, "0 /dev/\n1 pipe:\n2 pipe:\n");
  EXPECT_EQ(Run({"input"}).output, "bytes 0\n");
}

TEST_F(RunChildTest, HandsOverDescriptorsUnderTheNumbersAsked) {
  std::ofstream(folder_ / "first") << "one";
  std::ofstream(folder_ / "second") << "two";
  const base::Descriptor first(::open((folder_ / "first").c_str(), O_RDONLY | O_CLOEXEC));
  const base::Descriptor second(::open((folder_ / "second").c_str(), O_RDONLY | O_CLOEXEC));
  // Crosswise: each is to get the number that the other one has.
  for (const auto& [number, text] : {std::pair(second.Get(), "one"), std::pair(first.Get(), "two")}) {
    Command command = Stub({"read", std::to_string(number)});
    command.descriptors = {{first.Get(), second.Get()}, {second.Get(), first.Get()}};
    EXPECT_EQ(RunChild(command).output, text);
  }
  Command command = Stub({"descriptors"});
  command.descriptors = {{first.Get(), 9}};
  EXPECT_EQ(RunChild(command).output, "0 /dev/\n1 pipe:\n2 pipe:\n9 " + folder_.string().substr(0, 5) + "\n");
}

TEST_F(RunChildTest, IsRefusedForDescriptorsOutOfRange) {
  for (const auto& pair : {std::pair(0, 2), std::pair(0, 64), std::pair(-1, 5), std::pair(1000, 5)}) {
    Command command = Stub({"exit", "0"});
    command.descriptors = {pair};
    EXPECT_EQ(RunChild(command).end, End::kNotStarted) << pair.first << " " << pair.second;
  }
}

TEST_F(RunChildTest, KillsTheWholeGroupAtTheDeadline) {
  Command command = Stub({"hang", folder_ / "grandchild"});  // ignores SIGTERM
  command.limits.deadline = std::chrono::milliseconds(300);
  const auto start = std::chrono::steady_clock::now();
  const ChildResult result = RunChild(command);
  EXPECT_EQ(result.end, End::kDeadline);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_TRUE(EndsSoon(folder_ / "grandchild"));
}

TEST_F(RunChildTest, DoesNotWaitForAGrandchildThatHoldsTheOutputAndEndsIt) {
  const ChildResult result = Run({"leave", folder_ / "grandchild"});
  EXPECT_TRUE(result.Succeeded());
  EXPECT_TRUE(EndsSoon(folder_ / "grandchild"));
}

TEST_F(RunChildTest, EndsAProgramThatPrintsAGigabyte) {
  Command command = Stub({"output", "1073741824"});
  command.limits.output = 1 << 20;
  const ChildResult result = RunChild(command);
  EXPECT_EQ(result.end, End::kOutputLimit);
  EXPECT_EQ(result.output.size(), 1U << 20);
}

TEST_F(RunChildTest, TakesOutputUpToTheLimit) {
  Command command = Stub({"output", "1048576"});
  command.limits.output = 1 << 20;
  const ChildResult result = RunChild(command);
  EXPECT_TRUE(result.Succeeded());
  EXPECT_EQ(result.output, std::string(1 << 20, 'x'));
}

TEST_F(RunChildTest, DropsAGigabyteOfErrors) {
  rusage before{};
  ::getrusage(RUSAGE_SELF, &before);
  EXPECT_TRUE(Run({"errors", "1073741824"}).Succeeded());
  rusage after{};
  ::getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 << 10) << "kilobytes";
}

TEST_F(RunChildTest, LimitsMemoryFilesAndProcessorTime) {
  EXPECT_EQ(Run({"allocate", "2147483648"}).status, 3);
  Command command = Stub({"write", folder_ / "file"});
  command.limits.file_size = 0;
  EXPECT_EQ(RunChild(command).status, SIGXFSZ);
  command = Stub({"burn"});
  command.limits.cpu_seconds = 1;
  const ChildResult result = RunChild(command);
  EXPECT_EQ(result.end, End::kSignalled);
  EXPECT_EQ(result.status, SIGXCPU);
}

TEST_F(RunChildTest, IsNotStartedWhenTheProgramCannotBe) {
  std::ofstream(folder_ / "text") << "text";
  for (const std::string& program : {(folder_ / "missing").string(), (folder_ / "text").string(),
                                     folder_.string(), std::string("true"), std::string()}) {
    Command command;
    command.arguments = {program};
    const ChildResult result = RunChild(command);
    EXPECT_EQ(result.end, End::kNotStarted) << program;
    EXPECT_FALSE(result.Succeeded());
  }
  EXPECT_EQ(RunChild(Command()).end, End::kNotStarted);
  EXPECT_EQ(Run({std::string("a\0b", 3)}).end, End::kNotStarted);
}

TEST_F(RunChildTest, GivesNoOtherProgramThanRmAndCpMoreThanNoRights) {
  Command command = Stub({"exit", "0"});
  command.identity = ChildIdentity::kCaller;
  EXPECT_EQ(RunChild(command).end, End::kNotStarted);
  command.identity = ChildIdentity::kOwner;
  command.owned = STDIN_FILENO;
  EXPECT_EQ(RunChild(command).end, End::kNotStarted);
  command.arguments = {"/bin/cp", "--version"};
  command.identity = ChildIdentity::kCaller;
  EXPECT_EQ(RunChild(command).end, End::kNotStarted);
  command.identity = ChildIdentity::kOwner;
  command.owned = -1;
  EXPECT_EQ(RunChild(command).end, End::kNotStarted) << "nobody to work for";
}

TEST_F(RunChildTest, LetsOthersReadWhatTheProgramMakes) {
  const mode_t before = ::umask(077);
  EXPECT_TRUE(Run({"make", folder_ / "made"}).Succeeded());
  ::umask(before);
  struct stat status {};
  ASSERT_EQ(::stat((folder_ / "made").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644U);
}

TEST_F(RunChildTest, IsNotStartedWithoutDescriptors) {
  const int status = InOwnProcess([this] {
    rlimit limit{3, 3};
    ::setrlimit(RLIMIT_NOFILE, &limit);
    return Run({"exit", "0"}).end == End::kNotStarted ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(RunChildTest, IsNotStartedWhenNoProcessCanBeMade) {
  const int status = InOwnProcess([this] {
    // An account that nothing runs under; the limit does not bind root.
    if (MaySwitchIds() && (::setgid(59999) != 0 || ::setuid(59999) != 0)) return 2;
    rlimit limit{0, 0};
    ::setrlimit(RLIMIT_NPROC, &limit);
    if (::geteuid() == 0) return 3;
    return Run({"exit", "0"}).end == End::kNotStarted ? 0 : 1;
  });
  if (status == 3) GTEST_SKIP() << "root in a view of one id has no limit on processes";
  EXPECT_EQ(status, 0);
}

TEST_F(RunChildTest, DiesWithItsCaller) {
  const pid_t caller = ::fork();
  if (caller == 0) {
    Run({"hang", folder_ / "grandchild"});
    ::_exit(0);
  }
  for (int i = 0; i < 5000 && NumberIn(folder_ / "grandchild") == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const pid_t grandchild = NumberIn(folder_ / "grandchild");
  const pid_t child = ::getpgid(grandchild);
  std::ofstream(folder_ / "child") << child;
  ::kill(caller, SIGKILL);
  ::waitpid(caller, nullptr, 0);
  EXPECT_TRUE(EndsSoon(folder_ / "child"));
  if (grandchild > 1) ::kill(grandchild, SIGKILL);
}

// Every id of the child, as the stub prints it.
std::string Ids(uid_t uid, gid_t gid) {
  const std::string u = std::to_string(uid), g = std::to_string(gid);
  return "uids " + u + " " + u + " " + u + "\ngids " + g + " " + g + " " + g + "\n";
}

constexpr char kNoCapabilities[] = "CapPrm:\t0000000000000000\nCapEff:\t0000000000000000\n";

TEST_F(RunChildTest, IsNobodyWithoutRightsWhenRootStartsIt) {
  if (!MaySwitchIds()) GTEST_SKIP() << "needs root and more than one id";
  const passwd* const nobody = ::getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  EXPECT_THAT(
      Run({"identity"}).output,
      AllOf(HasSubstr(Ids(nobody->pw_uid, nobody->pw_gid)), HasSubstr(kNoCapabilities),
            HasSubstr("CapBnd:\t0000000000000000"), HasSubstr("NoNewPrivs:\t1"),
            HasSubstr("Groups:\t" + std::to_string(nobody->pw_gid) + " \n"), HasSubstr("setuid(0) -1")));
}

// As in a request process, in and out of a root section.
TEST_F(RunChildTest, IsTheServiceAccountForGoodWhenTheCallerWorksUnderIt) {
  if (!MaySwitchIds()) GTEST_SKIP() << "needs root and more than one id";
  for (const uid_t effective : {uid_t{12345}, uid_t{0}}) {
    const int status = InOwnProcess([this, effective] {
      if (::setgroups(0, nullptr) != 0 || ::setresgid(0, 12346, 12346) != 0) return 2;
      if (::setresuid(0, 12345, 12345) != 0 || ::seteuid(effective) != 0) return 3;
      const std::string output = Run({"identity"}).output;
      return testing::Matches(AllOf(ContainsRegex("uids 12345 12345 12345"), HasSubstr(kNoCapabilities),
                                    HasSubstr("CapBnd:\t0000000000000000"),
                                    HasSubstr("setuid(0) -1")))(output)
                 ? 0
                 : 1;
    });
    EXPECT_EQ(status, 0) << effective;
  }
}

TEST_F(RunChildTest, HasNoCapabilityInAnyCase) {
  EXPECT_THAT(Run({"identity"}).output, AllOf(HasSubstr(kNoCapabilities), HasSubstr("NoNewPrivs:\t1")));
}

// The stub's own descriptors and session are what /proc tells of it.
TEST_F(RunChildTest, DetachedLivesOnWithoutAnythingOfItsParent) {
  const std::filesystem::path number = folder_ / "number";
  const int exit_status = InOwnProcess([&] { return SpawnDetached(Stub({"leave", number})) ? 0 : 1; });
  ASSERT_EQ(exit_status, 0);
  for (int i = 0; i < 30'000 && NumberIn(number) == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const pid_t pid = NumberIn(number);
  ASSERT_GT(pid, 1) << "the parent has ended, the program goes on";
  EXPECT_NE(::getsid(pid), ::getsid(0));
  for (const char* fd : {"0", "1", "2"}) {
    const std::filesystem::path link = "/proc/" + std::to_string(pid) + "/fd/" + fd;
    std::error_code hidden;  // of another account's process
    const std::filesystem::path target = std::filesystem::read_symlink(link, hidden);
    if (!hidden) {
      EXPECT_EQ(target, "/dev/null") << fd;
    }
  }
  ::kill(-::getpgid(pid), SIGKILL);
  EXPECT_TRUE(EndsSoon(number));
}

TEST_F(RunChildTest, DetachedSaysWhenItCannotStart) {
  Command command;
  command.arguments = {folder_ / "missing"};
  EXPECT_FALSE(SpawnDetached(command));
}

}  // namespace
}  // namespace kinora::system
