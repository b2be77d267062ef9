// One program that `kinora serve` keeps running.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace kinora::cli {

struct Service {
  std::string name;                    // for people
  std::vector<std::string> arguments;  // the first is the program's absolute path
  int socket = -1;                     // becomes descriptor 3; -1: none
  bool socket_by_environment = false;  // the program learns of it as systemd tells it (LISTEN_FDS)
  bool keeps_root = false;  // starts as whoever started us; else our effective ids are its only ones
};

// Starts it with nothing open but standard error and its socket, in a process group of its own, to be ended
// when this process dies. Throws std::system_error when there is no process for it; that the program cannot
// be executed shows when it ends with status 127.
pid_t Start(const Service& service);

using Clock = std::chrono::steady_clock;

// How long to wait before a program is started again that ran for `ran` and failed `failures` times in a row
// before that: at once after a long run, then doubling from a tenth of a second up to ten.
std::chrono::milliseconds DelayBeforeRestart(Clock::duration ran, unsigned int failures);

}  // namespace kinora::cli
