#include "platform/system/guarded_copy.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/base/folder.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/system/child.h"

namespace kinora::system {
namespace {

using base::Descriptor;

constexpr char kScratchPrefix[] = ".copy-";
constexpr size_t kRandomBytes = 16;
constexpr int kSourceDescriptor = 3;
constexpr int kFolderDescriptor = 4;
constexpr std::chrono::minutes kDeadline{10};
constexpr unsigned int kCpuSeconds = 600;
constexpr time_t kScratchAge = 900;  // seconds; nobody writes a copy for so long
constexpr int kFailed = -1;
constexpr int kKilled = -2;

// A place to look from, not to read: nothing waits for whoever may be at the other end of a FIFO.
constexpr int kPlaceFlags = O_PATH | O_NOFOLLOW | O_CLOEXEC;

int Fail(const std::string& target, const std::string& why) {
  base::Log(LOG_ERR, "system/guarded_copy", "no copy at [" + target + "]: " + why);
  return kFailed;
}

Descriptor OpenSource(const std::string& path) {
  Descriptor source(::open(path.c_str(), kPlaceFlags));
  struct stat status {};
  if (!source || ::fstat(source.Get(), &status) != 0) return {};
  if (S_ISREG(status.st_mode)) return source;
  errno = EINVAL;
  return {};
}

// The folder that the last of the parts lies in. It and the one above it are no links; what leads there may
// be.
Descriptor OpenFolder(const std::vector<std::string>& parts) {
  std::string above;
  for (size_t i = 1; i + 2 < parts.size(); ++i) above += "/" + parts[i];
  Descriptor folder(::open(above.empty() ? "/" : above.c_str(), kPlaceFlags | O_DIRECTORY));
  if (!folder || parts.size() < 3) return folder;
  return Descriptor(::openat(folder.Get(), parts[parts.size() - 2].c_str(), kPlaceFlags | O_DIRECTORY));
}

// A name that nobody guesses, gone unless it is published.
class Scratch {
 public:
  explicit Scratch(int folder) : folder_(folder) {
    std::array<char, kRandomBytes> random{};
    ::randombytes_buf(random.data(), random.size());
    name_ = kScratchPrefix + base::ToHex({random.data(), random.size()});
  }
  ~Scratch() {
    if (!name_.empty()) ::unlinkat(folder_, name_.c_str(), 0);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  const std::string& Name() const { return name_; }
  // false, with errno, when it cannot be brought to the disk and to its name.
  bool Publish(const std::string& name) {
    const Descriptor file(::openat(folder_, name_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file || ::fdatasync(file.Get()) != 0) return false;
    if (::renameat(folder_, name_.c_str(), folder_, name.c_str()) != 0) return false;
    name_.clear();
    return true;
  }

 private:
  int folder_;
  std::string name_;
};

void RemoveOldScratch(int folder) {
  for (const std::string& name : base::NamesIn(folder)) {
    struct stat status {};
    if (!name.starts_with(kScratchPrefix) ||
        ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
      continue;
    if (::time(nullptr) - status.st_mtime > kScratchAge) ::unlinkat(folder, name.c_str(), 0);
  }
}

// The child opens both anew through its own descriptors, with the rights that it has by then.
ChildResult RunCp(const Descriptor& source, const Descriptor& folder, const std::string& name) {
  const std::string descriptors = "/proc/self/fd/";
  Command command;
  command.arguments = {"/bin/cp", "--no-preserve=mode", "--no-target-directory",
                       descriptors + std::to_string(kSourceDescriptor),
                       descriptors + std::to_string(kFolderDescriptor) + "/" + name};
  command.descriptors = {{source.Get(), kSourceDescriptor}, {folder.Get(), kFolderDescriptor}};
  command.identity = ChildIdentity::kOwner;
  command.owned = folder.Get();
  command.limits.deadline = kDeadline;
  command.limits.cpu_seconds = kCpuSeconds;
  command.limits.file_size = std::numeric_limits<uint64_t>::max();
  return RunChild(command);
}

}  // namespace

int CopyFile(const std::string& source, const std::string& target) {
  const std::vector<std::string> parts = base::PartsOf(target);
  if (parts.size() < 2) return Fail(target, "no absolute name");
  const Descriptor from = OpenSource(source);
  if (!from) return Fail(target, "[" + source + "] is no plain file to copy: " + std::strerror(errno));
  const Descriptor folder = OpenFolder(parts);
  if (!folder) return Fail(target, std::string("its folder: ") + std::strerror(errno));
  RemoveOldScratch(folder.Get());
  Scratch scratch(folder.Get());
  const ChildResult result = RunCp(from, folder, scratch.Name());
  if (result.end == ChildResult::End::kNotStarted) return kFailed;
  if (result.end != ChildResult::End::kExited) {
    Fail(target, "cp was killed");
    return kKilled;
  }
  if (result.status != 0) return result.status;
  if (!scratch.Publish(parts.back())) return Fail(target, std::strerror(errno));
  return 0;
}

}  // namespace kinora::system
