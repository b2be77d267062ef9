#include "platform/engine/stream_places.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

#include "platform/base/file_time.h"
#include "platform/base/folder.h"
#include "platform/engine/job_lock.h"
#include "platform/engine/stream_id.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

using base::Descriptor;
using base::NamesIn;

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::string ReadLink(int parent, const std::string& name) {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlinkat(parent, name.c_str(), target.data(), target.size());
  return length <= 0 ? "" : std::string(target.data(), static_cast<size_t>(length));
}

}  // namespace

Descriptor OpenOwnFolder(int parent, const std::string& name) {
  Descriptor folder(::openat(parent, name.c_str(), kFolderFlags));
  struct stat status {};
  if (!folder || ::fstat(folder.Get(), &status) != 0 || status.st_uid != ::geteuid()) return {};
  return folder;
}

Descriptor OpenWorkFolder(int stream) {
  return Descriptor(::openat(stream, kStreamWorkFolder, kFolderFlags));
}

bool IsHeld(int folder, const char* name) {
  const Descriptor lock(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  return lock && ::flock(lock.Get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool HasJob(int work_folder) {
  return IsJobLockHeld("/proc/self/fd/" + std::to_string(work_folder) + "/job.lock");
}

int64_t LastUse(int stream, const std::string& type) {
  struct stat status {};
  int64_t last = ::fstat(stream, &status) == 0 ? base::NanosecondsOf(status.st_mtim) : 0;
  for (const std::string& name : NamesIn(stream)) {
    if (::fstatat(stream, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    last = std::max(last, base::NanosecondsOf(status.st_mtim));
    if (type == "RAW" && name == "filepath") last = std::max(last, base::NanosecondsOf(status.st_atim));
  }
  return last;
}

StreamLinks ReadStreamLinks(const std::string& type) {
  StreamLinks links;
  const Descriptor workspace = OpenOwnFolder(AT_FDCWD, system::kWorkspace);
  if (workspace) links.folder = OpenOwnFolder(workspace.Get(), type);
  if (!links.folder) return links;
  for (const std::string& name : NamesIn(links.folder.Get())) {
    struct stat status {};
    if (!IsStreamId(name) || ::fstatat(links.folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
      continue;
    if (S_ISLNK(status.st_mode) && status.st_uid == ::geteuid()) {
      links.targets[name] = ReadLink(links.folder.Get(), name);
    }
  }
  return links;
}

}  // namespace kinora::engine
