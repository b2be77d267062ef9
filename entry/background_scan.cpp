#include "entry/background_scan.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

#include "entry/log.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"

namespace kinora::entry {
namespace {

constexpr char kUnit[] = "entry/background_scan";
constexpr int kCannotStart = 127;

// In the grandchild: nobody waits for it but init.
[[noreturn]] void BecomeScan(const std::string& program, const system::ChildRights& rights) {
  const int null = open("/dev/null", O_RDWR);
  if (null < 0 || dup2(null, STDIN_FILENO) < 0 || dup2(null, STDOUT_FILENO) < 0) _exit(kCannotStart);
  close_range(STDERR_FILENO + 1, ~0U, 0);
  if (!system::AssumeRights(rights)) _exit(kCannotStart);
  signal(SIGPIPE, SIG_DFL);
  alarm(0);
  std::array<const char*, 3> arguments = {program.c_str(), "scan", nullptr};
  std::array<const char*, 3> environment = {"PATH=/usr/bin:/bin", "LC_ALL=C.UTF-8", nullptr};
  execve(program.c_str(), const_cast<char* const*>(arguments.data()),
         const_cast<char* const*>(environment.data()));
  _exit(kCannotStart);
}

}  // namespace

bool StartBackgroundScan() {
  const std::string program = system::InTarget("bin/kinora");
  if (access(program.c_str(), X_OK) != 0) {
    Log(LOG_ERR, kUnit, "no program to scan with: " + program);
    return false;
  }
  const system::ChildRights rights = system::CallerRights();
  const pid_t child = fork();
  if (child == 0) {
    setsid();
    const pid_t grandchild = fork();
    if (grandchild == 0) BecomeScan(program, rights);
    _exit(grandchild < 0 ? kCannotStart : 0);
  }
  int status = 0;
  while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  const bool started = child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  if (!started) Log(LOG_ERR, kUnit, "no process to scan with");
  return started;
}

}  // namespace kinora::entry
