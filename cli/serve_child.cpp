#include "cli/serve_child.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "platform/system/identity.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"
#include "platform/system/unix_listener.h"

namespace kinora::cli {
namespace {

constexpr int kCannotStart = 127;
constexpr int kSocketNumber = 3;

bool ArrangeDescriptors(int socket) {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null < 0 || dup2(null, STDIN_FILENO) < 0 || dup2(null, STDOUT_FILENO) < 0) return false;
  if (socket == kSocketNumber && fcntl(socket, F_SETFD, 0) != 0) return false;
  if (socket >= 0 && socket != kSocketNumber && dup2(socket, kSocketNumber) < 0) return false;
  const unsigned int first_closed = socket >= 0 ? kSocketNumber + 1 : kSocketNumber;
  return close_range(first_closed, ~0U, 0) == 0;
}

void ResetSignals() {
  for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

// A program started with other effective than real ids is taken for a set-uid one: the loader then finds no
// library beside it. So it starts as what this process was, and takes on the service's account by itself.
bool ReturnToStarter() {
  if (getuid() == geteuid()) return true;
  const uid_t uid = getuid();
  const gid_t gid = getgid();
  return seteuid(uid) == 0 && setresgid(gid, gid, gid) == 0 && setresuid(uid, uid, uid) == 0;
}

bool TakeRights(ServiceRights rights) {
  if (rights == ServiceRights::kStarter) return ReturnToStarter();
  if (rights == ServiceRights::kAccount) return system::AssumeRights(system::CallerRights());
  const auto dropped = system::DroppedRights(system::LoadSettings(system::kSettingsFile));
  return dropped && system::AssumeRights(*dropped);
}

// -1: it gets none.
int SocketOf(const Service& service) {
  if (service.listens_on.empty()) return service.socket;
  try {
    return system::ListenOnUnixSocket(service.listens_on, SOCK_SEQPACKET).Release();
  } catch (const std::system_error& error) {
    syslog(LOG_ERR, "cli/serve %s", error.what());
    _exit(kCannotStart);
  }
}

[[noreturn]] void Become(const Service& service, pid_t parent) {
  setpgid(0, 0);
  ResetSignals();
  if (!ArrangeDescriptors(SocketOf(service)) || !TakeRights(service.rights)) _exit(kCannotStart);
  // After the change of rights, which takes this wish back.
  if (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent || chdir("/") != 0) _exit(kCannotStart);

  std::vector<std::string> variables = {
      "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8",
      // Symbols are bound here once, not anew in each process that serves a request.
      "LD_BIND_NOW=1"};
  if (service.socket_by_environment) {
    variables.push_back("LISTEN_PID=" + std::to_string(getpid()));
    variables.emplace_back("LISTEN_FDS=1");
  }
  std::vector<char*> environment;
  for (std::string& variable : variables) environment.push_back(variable.data());
  environment.push_back(nullptr);
  std::vector<char*> arguments;
  for (const std::string& argument : service.arguments)
    arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  execve(arguments[0], arguments.data(), environment.data());
  _exit(kCannotStart);
}

}  // namespace

pid_t Start(const Service& service) {
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) Become(service, parent);
  if (child < 0) throw std::system_error(errno, std::generic_category(), "no process for " + service.name);
  return child;
}

std::chrono::milliseconds DelayBeforeRestart(Clock::duration ran, unsigned int failures) {
  constexpr std::chrono::milliseconds kLongest{10'000};
  if (ran >= std::chrono::seconds(10)) return std::chrono::milliseconds(0);
  return std::min(std::chrono::milliseconds(100U << std::min(failures, 7U)), kLongest);
}

}  // namespace kinora::cli
