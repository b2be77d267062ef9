#include "contract/media/lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "platform/base/descriptor.h"
#include "platform/base/log.h"

namespace LibKinora {
namespace {

using kinora::base::Descriptor;

constexpr char kUnit[] = "media/lock";
constexpr mode_t kMode = 0600;
constexpr int kMostTries = 1000;

// Neither a link, nor a second name of somebody's file, nor something that opening could wait for.
bool IsPlainFile(const struct stat& info) { return S_ISREG(info.st_mode) && info.st_nlink <= 1; }

// The file that may be locked, made when it is not there. Its content is never touched.
Descriptor Open(const std::string& path) {
  Descriptor file(
      ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kMode));
  struct stat info {};
  if (file && (::fstat(file.Get(), &info) != 0 || !IsPlainFile(info))) {
    file.Reset();
    errno = EINVAL;
  }
  if (!file) kinora::base::Log(LOG_ERR, kUnit, "cannot lock " + path + ": " + std::strerror(errno));
  return file;
}

bool Take(const Descriptor& file, bool wait) {
  while (::flock(file.Get(), wait ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

// Whoever had the lock before may have removed the file: then it is locked in vain.
bool IsStillAt(const std::string& path, const Descriptor& file) {
  struct stat held {};
  struct stat there {};
  return ::fstat(file.Get(), &held) == 0 && ::lstat(path.c_str(), &there) == 0 &&
         held.st_dev == there.st_dev && held.st_ino == there.st_ino;
}

Descriptor TakeLock(const std::string& path, bool wait) {
  for (int i = 0; i < kMostTries; ++i) {
    Descriptor file = Open(path);
    if (!file || !Take(file, wait)) return {};
    if (IsStillAt(path, file)) return file;
  }
  kinora::base::Log(LOG_ERR, kUnit, "cannot lock " + path + ": it is removed again and again");
  return {};
}

}  // namespace

struct Lock::State {
  std::string path;
  Descriptor file;
};

Lock::Lock(const std::string& path, bool wait)
    : state_(std::make_shared<State>(State{path, TakeLock(path, wait)})) {}

bool Lock::IsLockSucess() const { return state_->file && IsStillAt(state_->path, state_->file); }

}  // namespace LibKinora
