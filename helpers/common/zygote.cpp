#include "helpers/common/zygote.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "helpers/common/exit_codes.h"
#include "helpers/common/rights.h"
#include "platform/base/handover.h"

namespace kinora::helper {
namespace {

using base::Descriptor;

constexpr int kSocket = 3;
constexpr int kFirstHandedOver = STDERR_FILENO;

void WakeUp(int) {}

sigset_t ChildSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGCHLD);
  return signals;
}

// Processes that have ended, so that no more than those at work are left; `runs` of them are.
unsigned int Reap(unsigned int runs) {
  while (runs > 0 && ::waitpid(-1, nullptr, WNOHANG) > 0) --runs;
  return runs;
}

bool MayConnect(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
         (peer.uid == 0 || peer.uid == ::geteuid());
}

// ---- in the process of one run

// What came, and nothing else, is open then under its numbers, and the connection right behind it, whose
// number is given; -1 when that cannot be done.
int ArrangeDescriptors(base::Handover handover, Descriptor connection) {
  std::vector<int> open;
  for (Descriptor& descriptor : handover.descriptors) open.push_back(descriptor.Release());
  open.push_back(connection.Release());
  const int end = kFirstHandedOver + static_cast<int>(open.size());
  // All out of the way first: what came may have the number that another one is to get.
  for (int& number : open) {
    if ((number = ::fcntl(number, F_DUPFD, end)) < 0) return -1;
  }
  int place = kFirstHandedOver;
  for (const int number : open) {
    if (::dup2(number, place++) < 0) return -1;
  }
  return ::close_range(static_cast<unsigned int>(end), ~0U, 0) == 0 ? end - 1 : -1;
}

// From now on a word from the other side, or its end, is a signal that ends this process.
bool EndWithConnection(int connection) {
  if (::fcntl(connection, F_SETOWN, ::getpid()) != 0) return false;
  if (::fcntl(connection, F_SETFL, O_ASYNC) != 0) return false;
  pollfd already{connection, POLLIN, 0};
  return ::poll(&already, 1, 0) == 0;
}

void ServeRun(Descriptor connection, pid_t zygote, const ZygoteLimits& limits, const RunFunction& run) {
  ::alarm(static_cast<unsigned int>(limits.deadline.count()));
  if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != zygote) return;
  std::optional<base::Handover> handover = base::ReceiveHandover(connection.Get());
  if (!handover || handover->descriptors.empty() || handover->descriptors.size() > limits.descriptors) return;
  const std::vector<std::string> arguments = std::move(handover->texts);
  const int place = ArrangeDescriptors(std::move(*handover), std::move(connection));
  if (place < 0 || !EndWithConnection(place)) return;
  const auto status = static_cast<unsigned char>(run(arguments));
  // Who does not take it is gone.
  [[maybe_unused]] const ssize_t sent = ::send(place, &status, 1, MSG_NOSIGNAL);
}

void ResetSignals() {
  ::signal(SIGCHLD, SIG_DFL);
  const sigset_t held = ChildSignal();
  ::sigprocmask(SIG_UNBLOCK, &held, nullptr);
}

// ---- in the zygote

// What parses strangers' files lives beside it, under the same account: that must not get hold of it.
bool Seclude() {
  const rlimit none{0, 0};
  return ::prctl(PR_SET_DUMPABLE, 0) == 0 && ::setrlimit(RLIMIT_CORE, &none) == 0 &&
         ::fcntl(kSocket, F_SETFL, O_NONBLOCK) == 0;
}

int Fail(int code, const std::string& reason) {
  std::fprintf(stderr, "%s\n", reason.c_str());
  return code;
}

}  // namespace

int RunZygote(const ZygoteLimits& limits, const RunFunction& run) {
  if (const std::string trouble = DropRights(); !trouble.empty()) return Fail(kNoPower, trouble);
  if (!Seclude()) return Fail(kUsage, "descriptor 3 is no socket");
  const sigset_t held = ChildSignal();
  sigset_t waiting;
  ::sigprocmask(SIG_BLOCK, &held, &waiting);
  ::sigdelset(&waiting, SIGCHLD);
  ::signal(SIGCHLD, WakeUp);
  const pid_t self = ::getpid();
  unsigned int runs = 0;
  for (;;) {
    // Until somebody connects or a run ends; where no more may run, until one ends.
    pollfd ready{kSocket, POLLIN, 0};
    const int count = ::ppoll(&ready, runs < limits.runs ? 1 : 0, nullptr, &waiting);
    if (count < 0 && errno != EINTR) return Fail(kUsage, "cannot wait for connections");
    runs = Reap(runs);
    if (count <= 0) continue;
    Descriptor connection(::accept4(kSocket, nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection && errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
      return Fail(kUsage, std::string("cannot take a connection: ") + std::strerror(errno));
    if (!connection || !MayConnect(connection.Get())) continue;
    const pid_t pid = ::fork();
    if (pid == 0) {
      ResetSignals();
      ServeRun(std::move(connection), self, limits, run);
      ::_exit(0);
    }
    if (pid > 0) ++runs;  // without a process the connection is closed, which is an answer, too
  }
}

}  // namespace kinora::helper
