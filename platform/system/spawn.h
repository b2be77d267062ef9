// Starting a program with nothing inherited but what is named.
#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/base/descriptor.h"
#include "platform/system/child.h"

namespace kinora::system {

struct Spawned {
  pid_t pid = -1;           // also the number of its process group
  base::Descriptor handle;  // a pidfd: readable when the process has ended; the caller reaps it
};

// Starts the command's program with `output` and `errors` as its standard output and error and /dev/null as
// its standard input. Nothing, with a line in the log and no process left, when that cannot be done; the
// program has not run a single instruction then.
std::optional<Spawned> Spawn(const Command& command, int output, int errors);

// Starts the program as nobody's: in a session of its own, not to be waited for, living on when the caller
// ends; /dev/null is its standard input, output and error. The deadline and the output's limit mean nothing.
// false, with a line in the log, when that cannot be done; the program has not run a single instruction then.
bool SpawnDetached(const Command& command);

}  // namespace kinora::system
