#include "platform/engine/index_scan.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/base/log.h"
#include "platform/system/places.h"
#include "platform/system/spawn.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/index_scan";
constexpr char kProgram[] = "libexec/kinora-index";
constexpr int kMediaDescriptor = 3;
constexpr int kIndexDescriptor = 4;
constexpr int kLockDescriptor = 5;

constexpr system::ChildLimits kLimits{std::chrono::milliseconds(0), 1ULL << 30, 600, kLongestIndex, 0};

// Empty while somebody holds it. The helper inherits it, so that it is free when that has ended.
base::Descriptor TryLock(const std::string& file, int flags) {
  const std::string path = std::filesystem::path(file).parent_path() / kScanLock;
  base::Descriptor lock(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | flags, 0600));
  if (!lock || ::flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) return {};
  return lock;
}

bool IsThere(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

bool IsScanRunning(const std::string& file) {
  const std::string lock = std::filesystem::path(file).parent_path() / kScanLock;
  return IsThere(lock) && !TryLock(file, 0);
}

void StartScan(const base::Descriptor& film, const std::string& file) {
  const base::Descriptor lock = TryLock(file, O_CREAT);
  if (!lock) return;
  const base::Descriptor index(
      ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!index) return base::Log(LOG_ERR, kUnit, "cannot make " + file + ": " + std::strerror(errno));
  system::Command command;
  command.arguments = {system::InTarget(kProgram), "--scan-to-file"};
  command.descriptors = {
      {film.Get(), kMediaDescriptor}, {index.Get(), kIndexDescriptor}, {lock.Get(), kLockDescriptor}};
  command.limits = kLimits;
  system::SpawnDetached(command);  // says itself why it cannot
}

}  // namespace kinora::engine
