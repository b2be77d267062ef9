// One program that `kinora serve` keeps running.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace kinora::cli {

enum class ServiceRights {
  kStarter,  // as whoever started us
  kAccount,  // our effective ids are its only ones
  kNone,     // those of a helper
};

struct Service {
  std::string name;                    // for people
  std::vector<std::string> arguments;  // the first is the program's absolute path
  int socket = -1;                     // becomes descriptor 3; -1: none
  bool socket_by_environment = false;  // the program learns of it as systemd tells it (LISTEN_FDS)
  std::string listens_on{};            // a path; descriptor 3 is then a socket of its own, SOCK_SEQPACKET
  ServiceRights rights = ServiceRights::kAccount;
};

// A socket given to it outlives it, so that who connects waits until it is started again; one of its own does
// not, and who connects while it does not run is refused.
//
// Starts it with nothing open but standard error and its socket, in a process group of its own, to be ended
// when this process dies. Throws std::system_error when there is no process for it; that the program cannot
// be executed shows when it ends with status 127.
pid_t Start(const Service& service);

using Clock = std::chrono::steady_clock;

// How long to wait before a program is started again that ran for `ran` and failed `failures` times in a row
// before that: at once after a long run, then doubling from a tenth of a second up to ten.
std::chrono::milliseconds DelayBeforeRestart(Clock::duration ran, unsigned int failures);

}  // namespace kinora::cli
