// One scan at a time, and what it says of itself: a lock that ends with its process, and a small JSON file
// for the service's other processes. A scan that was killed leaves the file behind but not the lock.
#pragma once

#include <chrono>

#include "platform/base/descriptor.h"
#include "platform/media/scanner.h"

namespace kinora::media {

// Held as long as the object lives. Throws LibKinora::db::Failure when there is no place for it.
class ScanLock {
 public:
  ScanLock();  // waits for another's end

 private:
  base::Descriptor file_;
};

class ScanReporter {
 public:
  explicit ScanReporter(const ProgressFunction& report) : report_(report) {}

  // Tells of it, at most four times a second.
  void Tell(const ScanProgress& progress);
  // Tells of it for certain.
  void TellLast(const ScanProgress& progress);

 private:
  const ProgressFunction& report_;
  bool complained_ = false;  // once is enough, when the disk is full
  std::chrono::steady_clock::time_point last_{};
};

}  // namespace kinora::media
