// kinora-job: the supervisor of one encoder (platform/engine/job.h says how it is used).
//
//   kinora-job --first N --times MS,MS,... --run-ahead S --idle S --patience S --quota BYTES --floor BYTES
//              --hardware 0|1 --tries N -- ENCODER ARGUMENTS...
//
// Descriptor 3 is the source, 4 the stream's work folder, 5 the job's lock, which is held by being open.
#include <fcntl.h>
#include <sys/prctl.h>

#include <csignal>
#include <iostream>
#include <stdexcept>

#include "helpers/common/exit_codes.h"
#include "helpers/job/options.h"
#include "helpers/job/supervisor.h"

namespace {

constexpr int kSource = 3;
constexpr int kFolder = 4;
constexpr int kLock = 5;

// The encoder inherits none of what we hold but what it is given.
bool KeepToOurselves() {
  for (const int number : {kSource, kFolder, kLock}) {
    if (::fcntl(number, F_SETFD, FD_CLOEXEC) != 0) return false;
  }
  return true;
}

bool BlockEndingSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&signals, number);
  return ::sigprocmask(SIG_BLOCK, &signals, nullptr) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace kinora::helper;
  try {
    const JobOptions options = ParseJobOptions({argv + 1, argv + argc});
    if (!KeepToOurselves() || !BlockEndingSignals()) return kUsage;
    Supervisor(options, kSource, kFolder).Work();
    return kDone;
  } catch (const std::invalid_argument& error) {
    std::cerr << "kinora-job: " << error.what() << "\n";
    return kUsage;
  } catch (const std::exception& error) {
    std::cerr << "kinora-job: " << error.what() << "\n";
    return kNoOutput;
  }
}
