// Running another program, safely: an argument list and no shell, a fixed environment, closed descriptors,
// limits, no rights.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kinora::system {

struct ChildLimits {
  std::chrono::milliseconds deadline{60'000};  // then the child's whole process group is killed
  uint64_t address_space = 1ULL << 30;         // bytes
  unsigned int cpu_seconds = 60;               // 0: as many as it takes
  uint64_t file_size = 0;                      // bytes that it may write into one file; 0: it writes no files
  size_t output = 16U << 20;                   // bytes of standard output; more ends it
};

enum class ChildIdentity {
  kDropped,  // all rights given up for good, verified before the program starts
  kCaller,   // the caller's effective identity becomes the only one; refused but for /bin/rm
  kOwner,    // that of the owner of `owned` (RightsOfOwner); refused but for /bin/cp
};

struct Command {
  std::vector<std::string> arguments;  // the first is the program's absolute path
  std::vector<std::pair<int, int>>
      descriptors;  // {ours, the child's number, 3 or more}: open files handed over
  ChildLimits limits;
  ChildIdentity identity = ChildIdentity::kDropped;
  int owned = -1;  // with kOwner: an open file or folder
};

struct ChildResult {
  enum class End { kExited, kSignalled, kDeadline, kOutputLimit, kNotStarted };
  End end = End::kNotStarted;
  int status = -1;     // the exit status, or the signal's number
  std::string output;  // standard output; standard error goes to the log, bounded, one line each

  bool Succeeded() const { return end == End::kExited && status == 0; }
};

// Starts the program, waits for it and gives what it wrote. Standard input is /dev/null, the environment
// holds PATH and LANG alone, the folder is the root, what it makes others may read. The child leads its own
// process group and dies with the calling thread; the group is killed as a whole when a limit is met and also
// when the child has ended, so that nobody whom it has started stays behind or is waited for. kNotStarted,
// with a line in the log: not one instruction of the program has run. May be called from several threads at
// once; SIGCHLD must not be ignored. Never throws but for want of memory.
ChildResult RunChild(const Command& command);

}  // namespace kinora::system
