#include <fcntl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "contract/system/hlibc.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"

namespace {

using kinora::base::Descriptor;

constexpr char kUnit[] = "system/detached_fork";
constexpr char kReady = 1;
constexpr int kParent = 1;
constexpr int kChild = 0;
constexpr int kFailed = -1;

// An open one with a number above the standard ones, which may all be closed.
Descriptor Above(int descriptor) {
  const Descriptor low(descriptor);
  return Descriptor(descriptor < 0 ? -1 : ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// The connection to the log is closed with all others. What is logged next makes a new one, under the same
// name; that must be here, or the old one's number would be another file's by then. For it every priority
// counts.
void ConnectToLog() {
  const int mask = ::setlogmask(LOG_UPTO(LOG_DEBUG));
  kinora::base::Log(LOG_INFO, kUnit, "goes on without the request");
  ::setlogmask(mask);
}

// Only now does the caller go on: what may fail has not.
bool BecomeChild(int nowhere, int report) {
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::dup2(nowhere, standard) < 0) return false;
  }
  if (::write(report, &kReady, 1) != 1) return false;
  if (::close_range(STDERR_FILENO + 1, ~0U, 0) != 0) return false;
  ConnectToLog();
  return true;
}

// The process in between leads the session and is gone at once, so that nobody is waited for.
int DetachFromHere(int nowhere, int report) {
  if (::setsid() < 0) ::_exit(1);
  const pid_t pid = ::fork();
  if (pid != 0) ::_exit(pid < 0 ? 1 : 0);
  if (!BecomeChild(nowhere, report)) ::_exit(1);
  return kChild;
}

int Fail() {
  kinora::base::Log(LOG_ERR, kUnit, std::string("cannot make a process: ") + std::strerror(errno));
  return kFailed;
}

}  // namespace

int HLIBCProcForkChildNoWait() {
  std::array<int, 2> ends{};
  Descriptor nowhere = Above(::open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!nowhere || ::pipe2(ends.data(), O_CLOEXEC) != 0) return Fail();
  Descriptor read = Above(ends[0]);
  Descriptor write = Above(ends[1]);
  if (!read || !write) return Fail();
  std::fflush(nullptr);  // or both would write what waits to be written
  const pid_t between = ::fork();
  if (between == 0) {
    // The child closes all it has by numbers, which are those of other files soon: nothing is closed again.
    static_cast<void>(read.Release());
    return DetachFromHere(nowhere.Release(), write.Release());
  }
  if (between < 0) return Fail();
  write.Reset();
  while (::waitpid(between, nullptr, 0) < 0 && errno == EINTR) {
  }
  char word = 0;
  ssize_t got = 0;
  while ((got = ::read(read.Get(), &word, 1)) < 0 && errno == EINTR) {
  }
  if (got == 1) return kParent;
  if (got == 0) errno = EAGAIN;
  return Fail();
}
