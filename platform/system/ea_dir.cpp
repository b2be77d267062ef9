#include "contract/system/ea_dir.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include "platform/base/descriptor.h"
#include "platform/base/folder.h"
#include "platform/base/log.h"
#include "platform/system/guarded_folder.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"
#include "platform/system/sidecars.h"

namespace {

namespace base = kinora::base;
using kinora::system::ChildRights;
using kinora::system::FolderWish;
using kinora::system::MayEnter;
using kinora::system::OpenGuardedFolder;

constexpr char kBeside[] = ".kinora";
constexpr mode_t kReadBits = 0444;

struct Source {
  std::string path;
  std::string folder;  // without a slash at the end
  std::string name;
  struct stat status {};
};

// Nothing, with errno, when there is no plain file of that name; a link to one is none.
std::optional<Source> Find(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (base::PartsOf(path).empty() || slash + 1 == path.size()) {
    errno = EINVAL;
    return std::nullopt;
  }
  Source source{path, path.substr(0, slash), path.substr(slash + 1)};
  if (::lstat(path.c_str(), &source.status) != 0) return std::nullopt;
  if (S_ISREG(source.status.st_mode)) return source;
  errno = EINVAL;
  return std::nullopt;
}

// Who may read the file may enter the folder; its owner may do all.
mode_t FolderModeFor(mode_t file) {
  const mode_t read = file & kReadBits;
  return S_IRWXU | read | (read >> 2);
}

std::string FolderBeside(const Source& source) { return source.folder + "/" + kBeside + "/" + source.name; }

// false when it cannot be had, or the service's account could not enter it.
bool MakeFolderBeside(const Source& source, const ChildRights& service) {
  const base::Descriptor parent = base::OpenFolderWithoutLinks(source.folder + "/");
  struct stat above {};
  if (!parent || ::fstat(parent.Get(), &above) != 0) return false;
  // The common folder is for the people of the folder above it, the file's own for those of the file.
  const FolderWish common{
      above.st_uid, above.st_gid, S_IRWXU | (above.st_mode & 0055), {source.status.st_uid}};
  const FolderWish own{
      source.status.st_uid, source.status.st_gid, FolderModeFor(source.status.st_mode), {above.st_uid}};
  for (const FolderWish& wish : {common, own}) {
    if (!MayEnter(service, wish.owner, wish.group, wish.mode)) return false;
  }
  const base::Descriptor all = OpenGuardedFolder(parent.Get(), kBeside, common);
  if (!all || !MayEnter(service, all.Get())) return false;
  const base::Descriptor folder = OpenGuardedFolder(all.Get(), source.name, own);
  return folder && MayEnter(service, folder.Get()) && kinora::system::MayWriteIn(folder.Get());
}

// Empty, with errno, when no folder can be had.
std::string FolderFor(const std::string& path, size_t room) {
  // Who asks must not change the answer: a request works as root here and as the service there.
  const kinora::system::RootSection root;
  const std::optional<Source> source = Find(path);
  if (!source) return "";
  const std::optional<ChildRights> service =
      kinora::system::DroppedRights(kinora::system::LoadSettings(kinora::system::kSettingsFile));
  if (!service) return "";
  std::string folder = FolderBeside(*source);
  if (folder.size() >= room) {
    errno = ENAMETOOLONG;
    return "";
  }
  if (MakeFolderBeside(*source, *service)) return folder;
  folder = kinora::system::SidecarOf(path);
  if (folder.size() >= room) {
    errno = ENAMETOOLONG;
    return "";
  }
  return kinora::system::MakeSidecar(path, *service) ? folder : "";
}

}  // namespace

namespace libkn::critical::crvnindex {

bool GetEADirPath(const char* path, char* buffer, int size) {
  if (path == nullptr || buffer == nullptr || size < 1) return false;
  errno = 0;
  const std::string folder = FolderFor(path, static_cast<size_t>(size));
  if (folder.empty()) {
    base::Log(LOG_ERR, "system/ea_dir",
              "no folder for what is derived from [" + std::string(path) + "]: " + std::strerror(errno));
    return false;
  }
  std::memcpy(buffer, folder.c_str(), folder.size() + 1);
  return true;
}

}  // namespace libkn::critical::crvnindex

int GetEADirPath(const char* path, char* buffer, int size) {
  return libkn::critical::crvnindex::GetEADirPath(path, buffer, size) ? 0 : -1;
}
