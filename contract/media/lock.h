// One process at a time, by a file.
#pragma once

#include <memory>
#include <string>

namespace LibKinora {

// Holds the lock (flock) of the file at the absolute `path`, which is made when it is not there, until the
// last copy of the object goes or the process ends, however it ends; programs that the process starts do not
// hold it. The file stays. Whoever removes it while it is held parts company with the holder: the next one
// locks a new file.
class Lock {
 public:
  // With `wait` until the lock is free, else only when it is free now. A link at `path`, or what is no plain
  // file, is never locked.
  Lock(const std::string& path, bool wait);

  // Whether the lock is held, and its file is the one at the path still.
  bool IsLockSucess() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace LibKinora
