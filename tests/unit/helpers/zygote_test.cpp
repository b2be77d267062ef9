// A zygote and who asks it, the one in a process of its own.
#include "platform/system/zygote.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/base/descriptor.h"
#include "platform/base/handover.h"
#include "platform/system/unix_listener.h"
#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {
namespace {

using base::Descriptor;
using system::ChildResult;
using End = ChildResult::End;

bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

class ZygoteTest : public testing::Test {
 protected:
  void SetUp() override { Start(); }
  void TearDown() override { Stop(); }

  void Start(const std::string& seconds = "60", const std::string& runs = "8") {
    Stop();
    const Descriptor socket = system::ListenOnUnixSocket(Socket(), SOCK_SEQPACKET);
    zygote_ = ::fork();
    ASSERT_GE(zygote_, 0);
    if (zygote_ > 0) return;
    if (socket.Get() == 3) ::fcntl(3, F_SETFD, 0);
    if (socket.Get() != 3) ::dup2(socket.Get(), 3);
    ::close_range(4, ~0U, 0);
    ::execl(KINORA_ZYGOTE_STUB, "zygote_stub", seconds.c_str(), runs.c_str(), nullptr);
    ::_exit(127);
  }
  void Stop() {
    if (zygote_ <= 0) return;
    ::kill(zygote_, SIGKILL);
    ::waitpid(zygote_, nullptr, 0);
    zygote_ = -1;
  }
  bool IsUp() const { return ::waitpid(zygote_, nullptr, WNOHANG) == 0; }

  std::string Socket() const { return folder_.File("socket"); }
  std::string Content() const { return ReadWhole(folder_.File("file")); }

  ChildResult Run(const std::vector<std::string>& arguments,
                  std::chrono::milliseconds deadline = std::chrono::seconds(60)) const {
    const Descriptor file = File();
    system::Command command;
    command.arguments = {"/libexec/stub"};
    command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
    command.descriptors = {{file.Get(), 3}};
    command.limits.deadline = deadline;
    return system::RunByZygote(Socket(), command);
  }
  Descriptor File() const {
    return Descriptor(::open(folder_.File("file").c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  }
  void Forget() const { WriteWhole(folder_.File("file"), ""); }

  Descriptor Connect() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, Socket().c_str());
    Descriptor connection(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return connection;
  }
  // A run that nobody waits for as long as the connection is held.
  Descriptor Begin(const std::vector<std::string>& arguments) const {
    Descriptor connection = Connect();
    const Descriptor file = File();
    EXPECT_TRUE(base::SendHandover(connection.Get(), arguments, {file.Get(), file.Get()}));
    return connection;
  }
  // The status; -1: the connection has ended without one.
  static int Answer(const Descriptor& connection) {
    unsigned char status = 0;
    return ::recv(connection.Get(), &status, 1, 0) == 1 ? status : -1;
  }
  static bool HasAnswer(const Descriptor& connection) {
    pollfd ready{connection.Get(), POLLIN, 0};
    return ::poll(&ready, 1, 0) > 0;
  }

  std::vector<pid_t> Runs() const {
    std::ifstream file("/proc/" + std::to_string(zygote_) + "/task/" + std::to_string(zygote_) + "/children");
    std::vector<pid_t> runs;
    for (pid_t pid = 0; file >> pid;) runs.push_back(pid);
    return runs;
  }
  // Of runs that hang: they have written their numbers.
  std::vector<pid_t> Hanging(size_t count) const {
    std::vector<pid_t> pids;
    EXPECT_TRUE(Eventually([&] {
      std::istringstream lines(Content());
      pids.clear();
      for (pid_t pid = 0; lines >> pid;) pids.push_back(pid);
      return Content().ends_with("\n") && pids.size() == count;
    }));
    return pids;
  }

  static bool IsGone(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string number, name, state;
    file >> number >> name >> state;
    return !file || state == "Z";
  }

  const ScratchFolder folder_;
  pid_t zygote_ = -1;
};

TEST_F(ZygoteTest, GivesTheStatusOfEachRun) {
  for (const int status : {0, 7, 255, 0}) {
    const ChildResult result = Run({"exit", std::to_string(status)});
    EXPECT_EQ(result.end, End::kExited);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.Succeeded(), status == 0);
  }
  EXPECT_TRUE(Eventually([this] { return Runs().empty(); })) << "not even one that has ended";
}

TEST_F(ZygoteTest, PassesEveryArgumentAsItIs) {
  EXPECT_TRUE(Run({"arguments", "", "two words", "line\nend", "--zygote", "\xff"}).Succeeded());
  EXPECT_EQ(Content(), "arguments||two words|line\nend|--zygote|\xff|");
}

TEST_F(ZygoteTest, HandsOverWhatIsAskedForAndNothingElse) {
  EXPECT_TRUE(Run({"descriptors"}).Succeeded());
  // The standard ones, the file, the connection.
  EXPECT_EQ(Content(), "0 1 2 3 4 ");
}

TEST_F(ZygoteTest, TakesRunsThatNeedFewerDescriptors) {
  const Descriptor file = File();
  const Descriptor connection = Connect();
  EXPECT_TRUE(base::SendHandover(connection.Get(), {"exit", "7"}, {file.Get()}));
  EXPECT_EQ(Answer(connection), 7);
}

TEST_F(ZygoteTest, LeavesItsRunsNoRights) {
  EXPECT_TRUE(Run({"status"}).Succeeded());
  const std::string status = Content();
  for (const char* line :
       {"\nCapInh:\t0000000000000000\n", "\nCapPrm:\t0000000000000000\n", "\nCapEff:\t0000000000000000\n",
        "\nCapAmb:\t0000000000000000\n", "\nNoNewPrivs:\t1\n"}) {
    EXPECT_NE(status.find(line), std::string::npos) << line << status;
  }
  // Its own account is that of the runs; somebody else's for whom root has started.
  EXPECT_NE(status.find("\nPPid:\t" + std::to_string(zygote_) + "\n"), std::string::npos);
}

TEST_F(ZygoteTest, IsNotHinderedByARunThatTalksTooMuch) { EXPECT_TRUE(Run({"talk"}).Succeeded()); }

TEST_F(ZygoteTest, SurvivesRunsThatDie) {
  for (const char* way : {"die", "crash"}) {
    const ChildResult result = Run({way});
    EXPECT_EQ(result.end, End::kSignalled) << way;
    EXPECT_EQ(result.status, SIGKILL) << way;
    EXPECT_TRUE(Run({"exit", "0"}).Succeeded()) << way;
  }
}

TEST_F(ZygoteTest, EndsARunThatNobodyWaitsForAnyMore) {
  EXPECT_EQ(Run({"hang"}, std::chrono::milliseconds(500)).end, End::kDeadline);
  EXPECT_TRUE(Eventually([this] { return Runs().empty(); }));
  Forget();
  Descriptor connection = Begin({"hang"});
  const pid_t run = Hanging(1).at(0);
  EXPECT_EQ(Runs(), std::vector<pid_t>{run});
  connection.Reset();
  EXPECT_TRUE(Eventually([this] { return Runs().empty(); }));
  // Who connects and leaves, or never says a word, leaves nothing either.
  for (int i = 0; i < 20; ++i) Connect();
  EXPECT_TRUE(Eventually([this] { return Runs().empty(); }));
  EXPECT_TRUE(Run({"exit", "0"}).Succeeded());
}

TEST_F(ZygoteTest, EndsARunAtItsDeadline) {
  ASSERT_NO_FATAL_FAILURE(Start("1"));
  EXPECT_EQ(Run({"hang"}).end, End::kSignalled);
  const Descriptor silent = Connect();
  EXPECT_EQ(Answer(silent), -1) << "who says nothing is not waited for either";
}

TEST_F(ZygoteTest, TakesItsRunsAlongWhenItIsKilled) {
  const Descriptor connection = Begin({"hang"});
  const pid_t run = Hanging(1).at(0);
  Stop();
  EXPECT_EQ(Answer(connection), -1);
  EXPECT_TRUE(Eventually([run] { return IsGone(run); }));
  EXPECT_EQ(Run({"exit", "0"}).end, End::kNotStarted);
}

TEST_F(ZygoteTest, LetsNoMoreRunThanItMay) {
  ASSERT_NO_FATAL_FAILURE(Start("60", "2"));
  const Descriptor first = Begin({"hang"});
  const Descriptor second = Begin({"hang"});
  const std::vector<pid_t> hanging = Hanging(2);
  const Descriptor third = Begin({"exit", "7"});
  EXPECT_EQ(Runs().size(), 2U);
  EXPECT_FALSE(HasAnswer(third));
  ::kill(hanging[0], SIGKILL);
  EXPECT_EQ(Answer(third), 7);
  EXPECT_NE(HasAnswer(first), HasAnswer(second)) << "the other one goes on";
}

TEST_F(ZygoteTest, RefusesMessagesThatAreNone) {
  const Descriptor file = File();
  const Descriptor crowded = Connect();
  EXPECT_TRUE(base::SendHandover(crowded.Get(), {"exit", "0"}, {file.Get(), file.Get(), file.Get()}));
  EXPECT_EQ(Answer(crowded), -1) << "more descriptors than a run has";
  for (const std::string& bytes : {std::string("exit"),
                                   std::string("exit\0"
                                               "0\0",
                                               7),
                                   std::string(9000, '\0')}) {
    const Descriptor connection = Connect();
    EXPECT_EQ(::send(connection.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
    EXPECT_EQ(Answer(connection), -1) << bytes.size();
  }
  // A second message is one too many.
  const Descriptor twice = Begin({"hang"});
  base::SendHandover(twice.Get(), {"exit", "0"}, {file.Get(), file.Get()});
  EXPECT_EQ(Answer(twice), -1);
  EXPECT_TRUE(Run({"exit", "0"}).Succeeded());
  EXPECT_TRUE(IsUp());
}

TEST_F(ZygoteTest, IsNotAskedWhereThereIsNone) {
  EXPECT_EQ(system::RunByZygote(folder_.File("missing"), {{"/x"}, {}, {}, {}}).end, End::kNotStarted);
  EXPECT_EQ(system::RunByZygote(std::string(200, 'x'), {{"/x"}, {}, {}, {}}).end, End::kNotStarted);
  Stop();
  EXPECT_EQ(Run({"exit", "0"}).end, End::kNotStarted) << "the socket's name is still there";
  const Descriptor nobody_accepts = system::ListenOnUnixSocket(Socket(), SOCK_SEQPACKET);
  EXPECT_EQ(Run({"exit", "0"}, std::chrono::milliseconds(100)).end, End::kDeadline);
}

}  // namespace
}  // namespace kinora::helper
