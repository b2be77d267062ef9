#include "cli/serve_supervisor.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>

namespace kinora::cli {
namespace {

using std::chrono::milliseconds;

constexpr std::chrono::seconds kTimeToEnd{5};

sigset_t HeldSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGCHLD, SIGTERM, SIGINT}) sigaddset(&signals, number);
  return signals;
}

// Sleeps until a signal comes, which is given, or the time is over.
int Sleep(milliseconds time) {
  const timespec wait{time.count() / 1000, time.count() % 1000 * 1'000'000};
  const sigset_t held = HeldSignals();
  return sigtimedwait(&held, nullptr, &wait);
}

std::vector<pid_t> AllChildren() {
  std::ifstream file("/proc/self/task/" + std::to_string(gettid()) + "/children");
  std::vector<pid_t> children;
  for (pid_t pid = 0; file >> pid;) children.push_back(pid);
  return children;
}

std::string HowItEnded(int status) {
  if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
  return "ended with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

Supervisor::Supervisor(std::vector<Service> services) {
  const sigset_t held = HeldSignals();
  sigprocmask(SIG_BLOCK, &held, nullptr);
  // What the programs leave behind becomes this process's, to be ended with the rest.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  for (Service& service : services)
    watched_.push_back({std::move(service), -1, Clock::now(), milliseconds(0), 0});
}

Supervisor::~Supervisor() {
  const auto deadline = Clock::now() + kTimeToEnd;
  for (std::vector<pid_t> left = AllChildren(); !left.empty(); left = AllChildren()) {
    const int number = Clock::now() < deadline ? SIGTERM : SIGKILL;
    for (const pid_t pid : left) kill(pid, number);
    Sleep(milliseconds(20));
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
  }
}

unsigned int Supervisor::FailuresOf(const std::string& name) const {
  const auto found = std::find_if(watched_.begin(), watched_.end(),
                                  [&](const Watched& watched) { return watched.service.name == name; });
  return found == watched_.end() ? 0 : found->failures;
}

void Supervisor::StartWhatIsDue() {
  for (Watched& watched : watched_) {
    if (watched.pid > 0 || Clock::now() - watched.since < watched.delay) continue;
    watched.pid = Start(watched.service);
    watched.since = Clock::now();
  }
}

void Supervisor::NoteEnd(pid_t pid, int status) {
  for (Watched& watched : watched_) {
    if (watched.pid != pid) continue;
    const Clock::duration ran = Clock::now() - watched.since;
    watched.delay = DelayBeforeRestart(ran, watched.failures);
    watched.failures = watched.delay.count() == 0 ? 0 : watched.failures + 1;
    watched.pid = -1;
    watched.since = Clock::now();
    syslog(LOG_ERR, "cli/serve %s %s; it is started again", watched.service.name.c_str(),
           HowItEnded(status).c_str());
  }
}

void Supervisor::Reap() {
  int status = 0;
  for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) NoteEnd(pid, status);
}

milliseconds Supervisor::UntilNextStart(milliseconds pause) const {
  for (const Watched& watched : watched_) {
    if (watched.pid > 0) continue;
    const auto left = std::chrono::ceil<milliseconds>(watched.since + watched.delay - Clock::now());
    pause = std::clamp(left, milliseconds(1), pause);
  }
  return pause;
}

void Supervisor::Run(const std::function<milliseconds()>& whenever_awake) {
  for (;;) {
    Reap();
    StartWhatIsDue();
    const int number = Sleep(UntilNextStart(whenever_awake()));
    if (number == SIGTERM || number == SIGINT) return;
  }
}

}  // namespace kinora::cli
