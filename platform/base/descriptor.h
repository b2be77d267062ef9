// An owned file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace kinora::base {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { Reset(); }
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.fd_, -1));
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  [[nodiscard]] int Release() { return std::exchange(fd_, -1); }
  // Closes what is held. errno stays as it was, so that a failure met before can still be reported.
  void Reset(int fd = -1);

 private:
  int fd_ = -1;
};

}  // namespace kinora::base
