#include "platform/engine/stream_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/base/atomic_file.h"
#include "platform/base/log.h"
#include "platform/engine/stream_id.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/stream_folder";
constexpr char kWorkFolder[] = "work";
constexpr char kLockFile[] = "lock";
constexpr off_t kLongestRecord = off_t{16} << 20;
constexpr int kMostLooks = 1000;
constexpr size_t kReadStep = size_t{64} << 10;

std::string LinkOf(const std::string& type, const std::string& stream_id) {
  return std::string(system::kWorkspace) + "/" + type + "/" + stream_id;
}

// Where the link leads; nothing when there is no link of this account.
std::optional<std::string> ReadLink(const std::string& link) {
  struct stat status {};
  if (::lstat(link.c_str(), &status) != 0 || !S_ISLNK(status.st_mode) || status.st_uid != ::geteuid())
    return std::nullopt;
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  if (length <= 0 || static_cast<size_t>(length) == target.size()) return std::nullopt;
  return std::string(target.data(), static_cast<size_t>(length));
}

// Only a folder that GetVolTmpAndSymlink may have made: a link that somebody has bent leads nowhere.
bool IsWorkingFolder(const std::string& target, const std::string& type, const std::string& stream_id) {
  if (!target.starts_with('/') ||
      !target.ends_with(system::StreamsOnVolume("") + "/" + type + "/" + stream_id))
    return false;
  struct stat status {};
  return ::lstat(target.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

bool IsLink(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::optional<std::string> ReadAll(int file, size_t size) {
  std::string content;
  content.reserve(size);
  std::array<char, kReadStep> step{};
  while (content.size() <= static_cast<size_t>(kLongestRecord)) {
    const ssize_t count = ::read(file, step.data(), step.size());
    if (count == 0) return content;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    content.append(step.data(), static_cast<size_t>(count));
  }
  return std::nullopt;
}

bool RemoveLink(const std::string& link) {
  if (::unlink(link.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) return true;
  base::Log(LOG_ERR, kUnit, "Cannot remove the link " + link + ": " + std::strerror(errno));
  return false;
}

// Another closer, or a child that still writes, changes the folder under our hands: then we look again.
bool RemoveFolder(const std::string& target) {
  std::error_code error;
  for (int look = 0; look < kMostLooks; ++look) {
    std::filesystem::remove_all(target, error);
    if (!error) return true;
    if (error != std::errc::no_such_file_or_directory && error != std::errc::directory_not_empty) break;
  }
  base::Log(LOG_ERR, kUnit, "Cannot remove " + target + ": " + error.message());
  return false;
}

}  // namespace

StreamFolder::StreamFolder(std::string id, std::string target)
    : id_(std::move(id)), target_(std::move(target)) {}

std::optional<StreamFolder> StreamFolder::Open(const std::string& type, const std::string& stream_id) {
  if (!IsStreamType(type) || !IsStreamId(stream_id)) return std::nullopt;
  std::optional<std::string> target = ReadLink(LinkOf(type, stream_id));
  if (!target || !IsWorkingFolder(*target, type, stream_id)) return std::nullopt;
  if (IsLink(*target + "/" + kWorkFolder)) return std::nullopt;
  return StreamFolder(stream_id, std::move(*target));
}

std::string StreamFolder::Path(const std::string& name) const { return target_ + "/" + name; }

std::string StreamFolder::WorkPath(const std::string& name) const {
  return target_ + "/" + kWorkFolder + "/" + name;
}

std::optional<std::string> StreamFolder::Read(const std::string& name) const {
  const base::Descriptor file(
      ::open(Path(name).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (status.st_size > kLongestRecord) return std::nullopt;
  return ReadAll(file.Get(), static_cast<size_t>(status.st_size));
}

void StreamFolder::Write(const std::string& name, const std::string& content) const {
  base::WriteFileAtomically(Path(name), content, 0600);
}

void StreamFolder::Withdraw(const std::string& name) const { ::unlink(Path(name).c_str()); }

void StreamFolder::MakeWorkFolder() const {
  const std::string work = Path(kWorkFolder);
  if (::mkdir(work.c_str(), 0700) != 0) Fail("cannot make " + work);
  const std::optional<system::ChildRights> rights =
      system::DroppedRights(system::LoadSettings(system::kSettingsFile));
  if (!rights) throw std::system_error(EPERM, std::generic_category(), "no account for children");
  if (rights->uid == ::geteuid()) return;
  if (::lchown(work.c_str(), rights->uid, rights->gid) != 0) Fail("cannot hand over " + work);
}

base::Descriptor StreamFolder::Lock() const {
  base::Descriptor file(::open(Path(kLockFile).c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) return {};
  while (::flock(file.Get(), LOCK_EX) != 0) {
    if (errno != EINTR) return {};
  }
  struct stat status {};
  // A file without a name is one that a closer has removed while we waited.
  if (::fstat(file.Get(), &status) != 0 || status.st_nlink == 0) return {};
  return file;
}

bool RemoveStream(const std::string& type, const std::string& stream_id) {
  if (!IsStreamType(type) || !IsStreamId(stream_id)) return true;
  const std::string link = LinkOf(type, stream_id);
  const std::optional<std::string> target = ReadLink(link);
  if (!target) return true;
  // The link last: whatever interrupts this, the stream can be found and closed again.
  if (IsWorkingFolder(*target, type, stream_id) && !RemoveFolder(*target)) return false;
  return RemoveLink(link);
}

}  // namespace kinora::engine
