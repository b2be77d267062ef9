#include "platform/system/sidecars.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "platform/base/folder.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/system/guarded_folder.h"
#include "platform/system/places.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
using base::Descriptor;

constexpr size_t kDigestSize = 16;
constexpr char kSource[] = "source";
constexpr time_t kTimeToLink = 3600;  // seconds; a folder that is being made has its link by then

std::string Digest(const std::string& path) {
  std::array<unsigned char, kDigestSize> digest{};
  crypto_generichash(digest.data(), digest.size(), reinterpret_cast<const unsigned char*>(path.data()),
                     path.size(), nullptr, 0);
  return base::ToHex({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

// Whether the file that the folder is for is known to be gone: not when it merely cannot be seen.
bool IsAbandoned(int sidecars, const std::string& name) {
  struct stat status {};
  const std::string link = name + "/" + kSource;
  if (::fstatat(sidecars, link.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    return ::fstatat(sidecars, link.c_str(), &status, 0) != 0 && (errno == ENOENT || errno == ENOTDIR);
  }
  return errno == ENOENT && ::fstatat(sidecars, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         ::time(nullptr) - status.st_mtime > kTimeToLink;
}

}  // namespace

std::string SidecarOf(const std::string& path) { return std::string(kSidecars) + "/" + Digest(path); }

bool MakeSidecar(const std::string& path, const ChildRights& service) {
  const Descriptor var(::open(kVar, O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!var) return false;
  const FolderWish wish{service.uid, service.gid, 0700, {}};
  const Descriptor all = OpenGuardedFolder(var.Get(), fs::path(kSidecars).filename(), wish);
  if (!all || !MayEnter(service, all.Get())) return false;
  const Descriptor folder = OpenGuardedFolder(all.Get(), Digest(path), wish);
  if (!folder || !MayEnter(service, folder.Get()) || !MayWriteIn(folder.Get())) return false;
  return ::symlinkat(path.c_str(), folder.Get(), kSource) == 0 || errno == EEXIST;
}

void RemoveSidecarsOfMissingFiles() {
  const Descriptor all(::open(kSidecars, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!all) return;
  for (const std::string& name : base::NamesIn(all.Get())) {
    if (name.size() != 2 * kDigestSize || !IsAbandoned(all.Get(), name)) continue;
    const fs::path folder = fs::path(kSidecars) / name;
    std::error_code error;
    fs::remove_all(folder, error);
    if (error) base::Log(LOG_ERR, "system/sidecars", "[" + folder.native() + "] stays: " + error.message());
  }
}

}  // namespace kinora::system
