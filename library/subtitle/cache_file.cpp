#include "library/subtitle/cache_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "contract/system/hlibc.h"
#include "library/log.h"
#include "library/subtitle/log_unit.h"
#include "library/subtitle/ownership.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;

constexpr off_t kMostBytes = off_t{256} << 20;  // many times the longest film's subtitles

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  explicit operator bool() const { return number_ >= 0; }
  int Number() const { return number_; }

 private:
  const int number_;
};

Descriptor OpenFolderAt(const Descriptor& above, const fs::path& name) {
  const fs::path entry = name.empty() ? "." : name;
  return Descriptor(::openat(above.Number(), entry.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// The folder and the one above it are what is made for the film's owner.
Descriptor OpenFolder(const fs::path& folder) {
  const fs::path above = folder.parent_path();
  const Descriptor start(::open(above.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return OpenFolderAt(OpenFolderAt(start, above.filename()), folder.filename());
}

bool IsOwn(const Descriptor& folder, const struct stat& file) {
  struct stat around {};
  return S_ISREG(file.st_mode) &&
         (IsOurs(file.st_uid) || (::fstat(folder.Number(), &around) == 0 && file.st_uid == around.st_uid));
}

std::string ReadAll(const Descriptor& file, off_t size) {
  std::string content(static_cast<size_t>(size), '\0');
  size_t done = 0;
  while (done < content.size()) {
    const ssize_t got = ::read(file.Number(), content.data() + done, content.size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  content.resize(done);
  return content;
}

constexpr char kNoFolder[] = "its folder is not there, or behind a link";
constexpr char kNotOwn[] = "not a plain file of its folder's owner";

std::string Refuse(const std::string& path, const char* reason) {
  KINORA_LOG(LOG_ERR, kLogUnit, "cannot use %s: %s", path.c_str(), reason);
  return "";
}

}  // namespace

bool IsOwnCacheFile(const std::string& path) {
  const fs::path name(path);
  const Descriptor folder = OpenFolder(name.parent_path());
  struct stat status {};
  if (::fstatat(folder.Number(), name.filename().c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
      IsOwn(folder, status)) {
    return true;
  }
  Refuse(path, folder ? kNotOwn : kNoFolder);
  return false;
}

std::string ReadCacheFile(const std::string& path) {
  const fs::path name(path);
  const Descriptor folder = OpenFolder(name.parent_path());
  if (!folder) return Refuse(path, kNoFolder);
  const Descriptor file(::openat(folder.Number(), name.filename().c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.Number(), &status) != 0) return Refuse(path, std::strerror(errno));
  if (!IsOwn(folder, status)) return Refuse(path, kNotOwn);
  if (status.st_size > kMostBytes) return Refuse(path, "too large for a subtitle");
  return ReadAll(file, status.st_size);
}

bool CopyToCache(const std::string& source, const std::string& cache_path) {
  return HLIBCExec("/bin/cp", source.c_str(), cache_path.c_str(), static_cast<const char*>(nullptr),
                   static_cast<const char*>(nullptr)) == 0;
}

void RemoveCacheFile(const std::string& path) {
  const fs::path name(path);
  ::unlinkat(OpenFolder(name.parent_path()).Number(), name.filename().c_str(), 0);
}

}  // namespace crvnkn::webapi::subtitle
