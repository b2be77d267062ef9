#include "platform/engine/job_lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>
#include <thread>

#include "platform/base/log.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kUnit[] = "engine/job_lock";
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kStep{5};

struct flock WholeFile() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

bool TakeNow(const base::Descriptor& file) {
  struct flock lock = WholeFile();
  return ::fcntl(file.Get(), F_OFD_SETLK, &lock) == 0;
}

}  // namespace

base::Descriptor TakeJobLock(const std::string& path) {
  base::Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  const Clock::time_point end = Clock::now() + kPatience;
  while (file && !TakeNow(file)) {
    const bool held = errno == EAGAIN || errno == EACCES;
    if (!held || Clock::now() >= end) {
      file.Reset();
      break;
    }
    std::this_thread::sleep_for(kStep);
  }
  if (!file) base::Log(LOG_ERR, kUnit, "cannot lock " + path + ": " + std::strerror(errno));
  return file;
}

bool IsJobLockHeld(const std::string& path) {
  const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file) return false;
  struct flock lock = WholeFile();
  return ::fcntl(file.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

base::Descriptor ShareLock(const std::string& path) {
  base::Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  struct flock lock = WholeFile();
  lock.l_type = F_RDLCK;
  if (!file || ::fcntl(file.Get(), F_OFD_SETLK, &lock) != 0) return {};
  return file;
}

base::Descriptor TakeAdmissionLock() {
  // Made by whoever comes first; that it is there already is no failure.
  ::mkdir(system::kRunFolder, 0700);
  const std::string path = std::string(system::kRunFolder) + "/jobs.lock";
  base::Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  struct flock lock = WholeFile();
  int result = -1;
  while (file && (result = ::fcntl(file.Get(), F_OFD_SETLKW, &lock)) != 0 && errno == EINTR) {
  }
  if (result != 0) throw std::system_error(errno, std::generic_category(), "cannot lock " + path);
  return file;
}

}  // namespace kinora::engine
