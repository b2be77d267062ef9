#include "platform/system/spawn.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <vector>

#include "platform/base/log.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::system {
namespace {

constexpr int kLastHandedOver = 63;
constexpr rlim_t kOpenFiles = 256;
constexpr int kFirstSignal = 1;
constexpr mode_t kMask = 022;  // what one account's child writes may be read by another's

// The whole environment of every child.
constexpr const char* kEnvironment[] = {"PATH=/usr/local/bin:/usr/bin:/bin", "LANG=C.UTF-8", nullptr};

// What the child may fail at before it is the program.
enum class Step : int { kRights, kLimits, kDescriptors, kFolder, kParent, kSession, kExecute };
constexpr const char* kStepNames[] = {"its rights", "its limits",  "its descriptors", "its folder",
                                      "its parent", "its session", "its program"};

struct Report {
  Step step;
  int error;
};

// All that the child needs, made before the fork: between fork and exec nothing may be allocated.
struct Plan {
  std::vector<char*> arguments;
  std::vector<std::pair<int, int>> descriptors;  // {ours, the child's}
  int highest = STDERR_FILENO;                   // of the child's numbers
  ChildLimits limits;
  ChildRights rights;
  pid_t parent = -1;
  bool detached = false;
  int program = -1;  // the opened program; -1 when it cannot be opened
};

[[noreturn]] void GiveUp(int report, Step step) {
  const Report words{step, errno};
  // What cannot be told stays untold: the parent sees the end of the pipe and the exit status.
  [[maybe_unused]] const ssize_t written = ::write(report, &words, sizeof(words));
  ::_exit(127);
}

bool Limit(__rlimit_resource resource, rlim_t soft, rlim_t hard) {
  rlimit now{};
  if (::getrlimit(resource, &now) != 0) return false;
  hard = std::min(hard, now.rlim_max);
  const rlimit wanted{std::min(soft, hard), hard};
  return ::setrlimit(resource, &wanted) == 0;
}

bool LimitSeconds(unsigned int seconds) {
  if (seconds == 0) return true;
  // The soft limit warns with a signal that may be caught, the hard one a second later kills.
  return Limit(RLIMIT_CPU, seconds, rlim_t{seconds} + 1);
}

bool SetLimits(const ChildLimits& limits) {
  return Limit(RLIMIT_AS, limits.address_space, limits.address_space) && LimitSeconds(limits.cpu_seconds) &&
         Limit(RLIMIT_FSIZE, limits.file_size, limits.file_size) && Limit(RLIMIT_CORE, 0, 0) &&
         Limit(RLIMIT_NOFILE, kOpenFiles, kOpenFiles);
}

// Puts the descriptors where the child wants them and closes all others. `report` and `program` move to the
// places after the last one; they close themselves when the program starts.
bool ArrangeDescriptors(Plan& plan, int& report, int& program) {
  const int place = plan.highest + 1;
  const int last = place + 1;
  // All out of the way first: what is ours may have the number that another one is to get.
  const int moved_report = ::fcntl(report, F_DUPFD_CLOEXEC, last + 1);
  if (moved_report < 0) return false;
  report = moved_report;
  if (program >= 0 && (program = ::fcntl(program, F_DUPFD_CLOEXEC, last + 1)) < 0) return false;
  for (auto& [ours, theirs] : plan.descriptors) {
    ours = ::fcntl(ours, F_DUPFD_CLOEXEC, last + 1);
    if (ours < 0) return false;
  }
  if (::dup3(report, place, O_CLOEXEC) < 0) return false;
  report = place;
  if (program >= 0 && (program = ::dup3(program, last, O_CLOEXEC)) < 0) return false;
  for (int number = 0; number < place; ++number) ::close(number);
  for (const auto& [ours, theirs] : plan.descriptors) {
    if (::dup2(ours, theirs) < 0) return false;
  }
  return ::close_range(static_cast<unsigned int>(last) + 1, ~0U, 0) == 0;
}

void ResetSignals() {
  struct sigaction standard {};
  standard.sa_handler = SIG_DFL;
  for (int number = kFirstSignal; number < NSIG; ++number) ::sigaction(number, &standard, nullptr);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// A child without rights may not be able to walk to its own program (a checkout in a closed home folder): it
// executes what its parent has opened. By its name where that is possible, which scripts need.
void Execute(Plan& plan, int program) {
  auto* const environment = const_cast<char**>(kEnvironment);
  ::execve(plan.arguments[0], plan.arguments.data(), environment);
  if (errno == EACCES && program >= 0)
    ::execveat(program, "", plan.arguments.data(), environment, AT_EMPTY_PATH);
}

// The process in between leads the session and is gone at once, so that the program belongs to process 1.
void LeaveParent(int report) {
  if (::setsid() < 0) GiveUp(report, Step::kSession);
  const pid_t pid = ::fork();
  if (pid < 0) GiveUp(report, Step::kSession);
  if (pid > 0) ::_exit(0);
}

// After the change of rights, which takes this wish back. The parent may be gone already.
bool DieWithParent(pid_t parent) { return ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent; }

[[noreturn]] void BecomeProgram(Plan& plan, int report) {
  if (plan.detached) LeaveParent(report);
  ::setpgid(0, 0);
  ResetSignals();
  int program = plan.program;
  if (!ArrangeDescriptors(plan, report, program)) GiveUp(report, Step::kDescriptors);
  if (!AssumeRights(plan.rights)) GiveUp(report, Step::kRights);
  if (!plan.detached && !DieWithParent(plan.parent)) GiveUp(report, Step::kParent);
  if (::chdir("/") != 0) GiveUp(report, Step::kFolder);
  ::umask(kMask);
  if (!SetLimits(plan.limits)) GiveUp(report, Step::kLimits);
  Execute(plan, program);
  GiveUp(report, Step::kExecute);
}

// No handler of the parent may run in the child.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

pid_t Fork(Plan& plan, int report) {
  const SignalsBlocked blocked;
  plan.parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid == 0) BecomeProgram(plan, report);
  return pid;
}

void Complain(const Command& command, const char* what, const char* reason) {
  const std::string program = command.arguments.empty() ? "" : command.arguments[0];
  base::Log(LOG_ERR, "system/spawn", "cannot start " + program + ": " + what + ": " + reason);
}

// What the command itself gets wrong.
const char* Fault(const Command& command) {
  if (command.arguments.empty() || !command.arguments[0].starts_with('/')) return "no absolute path";
  for (const std::string& argument : command.arguments) {
    if (argument.find('\0') != std::string::npos) return "an argument holds a zero byte";
  }
  for (const auto& [ours, theirs] : command.descriptors) {
    if (ours < 0 || theirs <= STDERR_FILENO || theirs > kLastHandedOver) return "no such descriptor";
  }
  if (command.identity == ChildIdentity::kCaller && command.arguments[0] != "/bin/rm") {
    return "it may not keep the caller's rights";
  }
  if (command.identity == ChildIdentity::kOwner && command.arguments[0] != "/bin/cp") {
    return "it may not have an owner's rights";
  }
  return nullptr;
}

// Nothing, with a line in the log, when there is nobody to become.
std::optional<ChildRights> RightsFor(const Command& command) {
  switch (command.identity) {
    case ChildIdentity::kDropped:
      return DroppedRights(LoadSettings(kSettingsFile));
    case ChildIdentity::kCaller:
      return CallerRights();
    case ChildIdentity::kOwner:
      break;
  }
  struct stat status {};
  if (::fstat(command.owned, &status) == 0) return RightsOfOwner(status.st_uid, status.st_gid);
  Complain(command, "its owner", std::strerror(errno));
  return std::nullopt;
}

std::optional<Plan> MakePlan(const Command& command) {
  if (const char* const fault = Fault(command); fault != nullptr) {
    Complain(command, "the command", fault);
    return std::nullopt;
  }
  Plan plan;
  for (const std::string& argument : command.arguments) {
    plan.arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  plan.arguments.push_back(nullptr);
  plan.descriptors = command.descriptors;
  for (const auto& [ours, theirs] : plan.descriptors) plan.highest = std::max(plan.highest, theirs);
  plan.limits = command.limits;
  std::optional<ChildRights> rights = RightsFor(command);
  if (!rights) return std::nullopt;
  plan.rights = std::move(*rights);
  return plan;
}

void Reap(pid_t pid) {
  while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

// Whether the child has become the program; waits for that.
bool HasStarted(const Command& command, int report) {
  Report words{};
  ssize_t got = 0;
  while ((got = ::read(report, &words, sizeof(words))) < 0 && errno == EINTR) {
  }
  if (got == 0) return true;
  const bool told = got == sizeof(words);
  Complain(command, told ? kStepNames[static_cast<int>(words.step)] : "its report",
           std::strerror(told ? words.error : EIO));
  return false;
}

struct ReportPipe {
  base::Descriptor read;
  base::Descriptor write;
};

// Forks the child that is going to be the program. -1, with a line in the log, when there is none.
pid_t Begin(const Command& command, Plan& plan, int output, int errors, ReportPipe& report) {
  const base::Descriptor program(::open(plan.arguments[0], O_PATH | O_CLOEXEC));
  plan.program = program.Get();
  const base::Descriptor input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  std::array<int, 2> ends{};
  if (!input || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
    Complain(command, "descriptors", std::strerror(errno));
    return -1;
  }
  report.read = base::Descriptor(ends[0]);
  report.write = base::Descriptor(ends[1]);
  for (const auto& standard : {std::pair(input.Get(), STDIN_FILENO), std::pair(output, STDOUT_FILENO),
                               std::pair(errors, STDERR_FILENO)}) {
    plan.descriptors.push_back(standard);
  }
  const pid_t pid = Fork(plan, report.write.Get());
  if (pid < 0) Complain(command, "a process", std::strerror(errno));
  report.write.Reset();
  return pid;
}

}  // namespace

std::optional<Spawned> Spawn(const Command& command, int output, int errors) {
  std::optional<Plan> plan = MakePlan(command);
  if (!plan) return std::nullopt;
  ReportPipe report;
  Spawned spawned;
  spawned.pid = Begin(command, *plan, output, errors, report);
  if (spawned.pid < 0) return std::nullopt;
  // What is closed by now leaves room for the handle, so that a started program never goes without.
  spawned.handle = base::Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, spawned.pid, 0)));
  const int error = errno;
  if (HasStarted(command, report.read.Get()) && spawned.handle) return spawned;
  if (!spawned.handle) Complain(command, "a handle", std::strerror(error));
  ::kill(spawned.pid, SIGKILL);
  Reap(spawned.pid);
  return std::nullopt;
}

bool SpawnDetached(const Command& command) {
  std::optional<Plan> plan = MakePlan(command);
  if (!plan) return false;
  plan->detached = true;
  const base::Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (!nowhere) {
    Complain(command, "descriptors", std::strerror(errno));
    return false;
  }
  ReportPipe report;
  const pid_t between = Begin(command, *plan, nowhere.Get(), nowhere.Get(), report);
  if (between < 0) return false;
  Reap(between);
  return HasStarted(command, report.read.Get());
}

}  // namespace kinora::system
