#include "entry/listener.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <system_error>

#include "entry/log.h"

namespace kinora::entry {
namespace {

constexpr char kUnit[] = "entry/listener";

volatile sig_atomic_t stop_asked = 0;

void AskToStop(int) { stop_asked = 1; }
void WakeUp(int) {}

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void Handle(int signal_number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  if (sigaction(signal_number, &action, nullptr) != 0) Fail("handle a signal");
}

// The signals that end the waiting, held back at all other times so that none is missed.
sigset_t HeldSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGCHLD, SIGTERM, SIGINT}) sigaddset(&signals, number);
  return signals;
}

unsigned int ReapChildren(unsigned int children) {
  int status = 0;
  while (children > 0 && waitpid(-1, &status, WNOHANG) > 0) {
    --children;
    if (WIFSIGNALED(status)) {
      Log(LOG_ERR, kUnit, "a request process was ended by signal " + std::to_string(WTERMSIG(status)));
    }
  }
  return children;
}

// Waits for a connection, or, when `full`, for a child to end.
bool WaitForConnection(int socket, bool full, const sigset_t& waiting_mask) {
  pollfd ready{socket, POLLIN, 0};
  const int count = ppoll(&ready, full ? 0 : 1, nullptr, &waiting_mask);
  if (count < 0 && errno != EINTR) Fail("wait for connections");
  return count > 0;
}

base::Descriptor Accept(int socket) {
  base::Descriptor connection(accept4(socket, nullptr, nullptr, SOCK_CLOEXEC));
  if (connection || errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) return connection;
  if (errno != EMFILE && errno != ENFILE && errno != ENOMEM && errno != ENOBUFS) Fail("accept connections");
  Log(LOG_ERR, kUnit, std::string("cannot take a connection: ") + std::strerror(errno));
  const timespec pause{0, 100'000'000};
  nanosleep(&pause, nullptr);
  return connection;
}

void PrepareChild() {
  for (const int number : {SIGCHLD, SIGTERM, SIGINT}) signal(number, SIG_DFL);
  const sigset_t held = HeldSignals();
  sigprocmask(SIG_UNBLOCK, &held, nullptr);
}

// The front waits for the end of the answer: it is told before the process is taken apart, and what an
// orderly end would free is not touched again.
[[noreturn]] void EndRequest(int status) {
  std::fflush(nullptr);
  shutdown(STDOUT_FILENO, SHUT_WR);
  _exit(status);
}

}  // namespace

int RunListener(base::Descriptor socket, unsigned int most_children, const AnswerFunction& answer) {
  const sigset_t held = HeldSignals();
  sigset_t waiting_mask;
  if (sigprocmask(SIG_BLOCK, &held, &waiting_mask) != 0) Fail("hold signals back");
  for (const int number : {SIGCHLD, SIGTERM, SIGINT}) sigdelset(&waiting_mask, number);
  Handle(SIGCHLD, WakeUp);
  Handle(SIGTERM, AskToStop);
  Handle(SIGINT, AskToStop);

  unsigned int children = 0;
  while (stop_asked == 0) {
    const bool ready = WaitForConnection(socket.Get(), children >= most_children, waiting_mask);
    children = ReapChildren(children);
    if (!ready) continue;
    base::Descriptor connection = Accept(socket.Get());
    if (!connection) continue;
    const pid_t child = fork();
    if (child == 0) {
      socket.Reset();
      PrepareChild();
      EndRequest(answer(connection.Release()));
    }
    if (child < 0) Log(LOG_ERR, kUnit, std::string("no process for a request: ") + std::strerror(errno));
    if (child > 0) ++children;
  }
  return 0;
}

}  // namespace kinora::entry
