#include "entry/client_watch.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <optional>

namespace kinora::entry {
namespace {

constexpr timespec kInterval{0, 200'000'000};

struct Watch {
  std::optional<TcpConnection> connection;
  std::optional<timer_t> timer;
};
Watch& TheWatch() {
  static Watch watch;
  return watch;
}

bool IsOutputClosed() {
  pollfd output{STDOUT_FILENO, 0, 0};
  return poll(&output, 1, 0) > 0 && (output.revents & (POLLHUP | POLLERR)) != 0;
}

void EndIfClientIsGone(int) {
  const std::optional<TcpConnection>& connection = TheWatch().connection;
  if (IsOutputClosed() || (connection && connection->IsClosedByPeer())) _exit(EXIT_FAILURE);
}

void SignalEvents(bool wanted) {
  const int flags = fcntl(STDOUT_FILENO, F_GETFL);
  if (flags >= 0) fcntl(STDOUT_FILENO, F_SETFL, wanted ? flags | O_ASYNC : flags & ~O_ASYNC);
}

void SignalEveryInterval() {
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = SIGIO;
  timer_t timer{};
  if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0) return;
  TheWatch().timer = timer;
  const itimerspec times{kInterval, kInterval};
  timer_settime(timer, 0, &times, nullptr);
}

}  // namespace

void EndWithClient(const TcpEnds& client) {
  TheWatch().connection = TcpConnection::Between(client);
  struct sigaction action {};
  action.sa_handler = EndIfClientIsGone;
  action.sa_flags = SA_RESTART;
  sigaction(SIGIO, &action, nullptr);
  fcntl(STDOUT_FILENO, F_SETOWN, getpid());
  SignalEvents(true);
  if (TheWatch().connection) SignalEveryInterval();
  EndIfClientIsGone(SIGIO);  // it may be gone already
}

void OutliveClient() {
  Watch& watch = TheWatch();
  if (watch.timer) timer_delete(*watch.timer);
  watch.timer.reset();
  SignalEvents(false);
  signal(SIGIO, SIG_IGN);
}

}  // namespace kinora::entry
