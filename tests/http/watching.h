// What is at work for a viewer, and what lies on the disk for him, while he watches.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <thread>

namespace kinora::test {

// Looks at something all the time, until this object goes.
class Watch {
 public:
  explicit Watch(const std::function<void()>& look);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  std::atomic<bool> done_ = false;
  std::thread thread_;
};

// The letter that the kernel has for it; 'X' when there is no such process.
char StateOf(pid_t process);

// Bytes on the disk, as `du` counts them. What goes while it is looked at counts as gone.
uint64_t DiskUsage(const std::filesystem::path& folder);

}  // namespace kinora::test
