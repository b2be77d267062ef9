// Keeps programs running: what dies is started again, and all end together.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "cli/serve_child.h"

namespace kinora::cli {

class Supervisor {
 public:
  explicit Supervisor(std::vector<Service> services);
  // Ends all that still runs, also what its programs have left behind.
  ~Supervisor();
  Supervisor(const Supervisor&) = delete;
  Supervisor& operator=(const Supervisor&) = delete;

  // Keeps them running until SIGINT or SIGTERM comes. `whenever_awake` is called at every turn, at least
  // every `pause`; it says how long the next pause may be.
  void Run(const std::function<std::chrono::milliseconds()>& whenever_awake);

  // How often in a row a program of this name has ended soon after it was started.
  unsigned int FailuresOf(const std::string& name) const;

 private:
  struct Watched {
    Service service;
    pid_t pid = -1;
    Clock::time_point since;  // started, or, while it does not run, when it ended
    std::chrono::milliseconds delay{0};
    unsigned int failures = 0;
  };

  void StartWhatIsDue();
  void Reap();
  void NoteEnd(pid_t pid, int status);
  std::chrono::milliseconds UntilNextStart(std::chrono::milliseconds pause) const;

  std::vector<Watched> watched_;
};

}  // namespace kinora::cli
