#include "entry/client_watch.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace kinora::entry {
namespace {

void EndIfClientIsGone(int) {
  pollfd output{STDOUT_FILENO, 0, 0};
  if (poll(&output, 1, 0) > 0 && (output.revents & (POLLHUP | POLLERR)) != 0) _exit(EXIT_FAILURE);
}

void SignalEvents(bool wanted) {
  const int flags = fcntl(STDOUT_FILENO, F_GETFL);
  if (flags >= 0) fcntl(STDOUT_FILENO, F_SETFL, wanted ? flags | O_ASYNC : flags & ~O_ASYNC);
}

}  // namespace

void EndWithClient() {
  struct sigaction action {};
  action.sa_handler = EndIfClientIsGone;
  action.sa_flags = SA_RESTART;
  sigaction(SIGIO, &action, nullptr);
  fcntl(STDOUT_FILENO, F_SETOWN, getpid());
  SignalEvents(true);
  EndIfClientIsGone(SIGIO);  // it may be gone already
}

void OutliveClient() {
  SignalEvents(false);
  signal(SIGIO, SIG_IGN);
}

}  // namespace kinora::entry
