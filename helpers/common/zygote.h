// A program that has loaded what is costly and then waits: each connection to its socket gets a process that
// is forked from it, which is what executing the program would have made, without the loading.
//
// The socket is open as descriptor 3 and of type SOCK_SEQPACKET. Who connects must be root or this program's
// own account; he sends one handover (platform/base/handover.h): the arguments of a run, and what is to be
// open in it as descriptors 2, 3 and so on. The answer is one byte, the run's exit status. When the
// connection ends without one the run has died, or was refused. When the other side hangs up, the run is
// ended at once. All runs end with this program.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace kinora::helper {

using RunFunction = std::function<int(const std::vector<std::string>& arguments)>;

struct ZygoteLimits {
  size_t descriptors = 0;         // of each run at most, standard error among them
  std::chrono::seconds deadline;  // of each run; then it is killed
  unsigned int runs = 0;          // at once; more connections wait
};

// Gives up rights (rights.h), then serves until a signal ends the program. Returns only when it cannot, with
// one of exit_codes.h.
int RunZygote(const ZygoteLimits& limits, const RunFunction& run);

}  // namespace kinora::helper
