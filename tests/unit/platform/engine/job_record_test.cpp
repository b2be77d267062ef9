#include "platform/engine/job_record.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "platform/system/places.h"

namespace kinora::engine {
namespace {

JobRecord Ours() {
  JobRecord record;
  record.boot = BootId();
  record.supervisor = MarkOf(::getpid()).value();
  record.encoder = {17, 18};
  record.first = 3;
  record.last = 9;
  record.newest = 5;
  record.stopped = true;
  record.hardware = true;
  record.tries = 2;
  record.quota = 5'000'000'000;
  record.end = "failed";
  record.words = "line\n\"quoted\" Grüße";
  return record;
}

TEST(JobRecord, IsReadAsItWasWritten) { EXPECT_EQ(ParseJobRecord(ToJsonText(Ours())), Ours()); }

TEST(JobRecord, IsNothingWhenTorn) {
  const std::string text = ToJsonText(Ours());
  for (size_t size = 0; size + 1 < text.size(); ++size) EXPECT_FALSE(ParseJobRecord(text.substr(0, size)));
  EXPECT_FALSE(ParseJobRecord(std::string(text.size(), '\0')));
}

// A process of this name, as the supervisors bear it.
class Impostor {
 public:
  explicit Impostor(const std::string& name) : pid_(::fork()) {
    if (pid_ != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::execl("/bin/sleep", name.c_str(), "600", nullptr);
    ::_exit(1);
  }
  ~Impostor() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  Impostor(const Impostor&) = delete;
  Impostor& operator=(const Impostor&) = delete;

  JobRecord Record() const {
    JobRecord record = Ours();
    record.supervisor = MarkOf(pid_).value();
    return record;
  }
  // Once its program has been executed.
  bool Bears(const std::string& name) const {
    for (int i = 0; i < 3000; ++i) {
      std::ifstream file("/proc/" + std::to_string(pid_) + "/cmdline");
      std::string program;
      std::getline(file, program, '\0');
      if (program == name) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }
  bool IsLeftAlone() const { return ::waitpid(pid_, nullptr, WNOHANG) == 0; }

 private:
  pid_t pid_;
};

TEST(JobRecord, MeansOneSupervisorOfOneBoot) {
  const std::string name = system::InTarget(kSupervisor);
  const Impostor supervisor(name);
  ASSERT_TRUE(supervisor.Bears(name));
  JobRecord record = supervisor.Record();
  EXPECT_TRUE(IsAlive(record));
  EXPECT_TRUE(SignalSupervisor(record, 0));
  ++record.supervisor.started;
  EXPECT_FALSE(IsAlive(record)) << "the number has been used again";
  EXPECT_FALSE(SignalSupervisor(record, SIGKILL));
  record = supervisor.Record();
  record.boot = "another";
  EXPECT_FALSE(IsAlive(record));
  EXPECT_FALSE(SignalSupervisor(record, SIGKILL));
  record = supervisor.Record();
  record.supervisor.pid = 0;
  EXPECT_FALSE(IsAlive(record)) << "not started yet";
  EXPECT_FALSE(SignalSupervisor(record, SIGKILL));
  EXPECT_TRUE(supervisor.IsLeftAlone());
}

TEST(JobRecord, ThatNamesAnotherProgramSignalsNobody) {
  const Impostor other("/bin/sleep");
  ASSERT_TRUE(other.Bears("/bin/sleep"));
  EXPECT_FALSE(IsAlive(other.Record()));
  EXPECT_FALSE(SignalSupervisor(other.Record(), SIGKILL));
  EXPECT_TRUE(other.IsLeftAlone());
  JobRecord ourselves = Ours();
  EXPECT_FALSE(SignalSupervisor(ourselves, SIGKILL));
}

}  // namespace
}  // namespace kinora::engine
