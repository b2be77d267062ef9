#include "contract/system/crvn_fs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/base/folder.h"
#include "platform/base/log.h"
#include "platform/system/places.h"

// The path is walked from the root, one component at a time, each opened relative to the one before and never
// through a link: nobody can exchange a part between the look at it and its use.

namespace {

using kinora::base::Descriptor;
using kinora::system::kWorkspace;

constexpr mode_t kClosed = 0700;
constexpr mode_t kPassable = 0711;
constexpr int kStepFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

bool IsInWorkspace(const std::string& path) {
  return path == kWorkspace || path.starts_with(std::string(kWorkspace) + "/");
}

// In a root section the service's own account is the saved one.
bool IsOwnAccount(uid_t uid) {
  std::array<uid_t, 3> own{};
  ::getresuid(&own[0], &own[1], &own[2]);
  return uid == own[0] || uid == own[1] || uid == own[2];
}

// On each volume, the service's own folder and the one above it.
bool IsOnVolume(const std::string& path) {
  const std::string streams = kinora::system::StreamsOnVolume("");
  return path.ends_with(streams) || path.ends_with(streams.substr(0, streams.rfind('/')));
}

struct Identities {
  std::array<uid_t, 3> users{};  // real, effective, saved
  std::array<gid_t, 3> groups{};
  Identities() {
    ::getresuid(&users[0], &users[1], &users[2]);
    ::getresgid(&groups[0], &groups[1], &groups[2]);
  }
};

// In the service's own places nobody else has any business, whatever the mode of what is made inside. Where
// the service is root itself, its children are somebody else and have to pass through.
mode_t ModeOf(const std::string& path, unsigned int wanted) {
  if (path == kWorkspace) return kClosed;
  if (!IsOnVolume(path)) return wanted & 0777;
  return Identities().users[2] == 0 ? kPassable : kClosed;
}

// In a section as root the service's own account gets what is made, since it must work in it afterwards.
bool GiveToOwnAccount(int directory) {
  const Identities ids;
  return ids.users[1] != 0 || ids.users[2] == 0 || ::fchown(directory, ids.users[2], ids.groups[2]) == 0;
}

// What speaks against going on through an existing directory; nothing otherwise.
const char* Objection(int directory, const std::string& path) {
  struct stat info {};
  if (::fstat(directory, &info) != 0) return std::strerror(errno);
  if (!IsInWorkspace(path)) return nullptr;
  if (!IsOwnAccount(info.st_uid)) return "it belongs to another account";
  if (path == kWorkspace && (info.st_mode & 022) != 0) return "others may write into it";
  return nullptr;
}

// The new directory, open. EEXIST when somebody else was faster.
Descriptor Make(int parent, const std::string& name, mode_t mode) {
  // Closed until it has its owner's word on the mode, which the umask must not reduce.
  if (::mkdirat(parent, name.c_str(), kClosed) != 0) return Descriptor();
  Descriptor made(::openat(parent, name.c_str(), O_RDONLY | kStepFlags));
  if (made && (!GiveToOwnAccount(made.Get()) || ::fchmod(made.Get(), mode) != 0)) made.Reset();
  return made;
}

// The directory `name` in `parent`, made when it is not there.
Descriptor Step(int parent, const std::string& name, mode_t mode) {
  Descriptor next(::openat(parent, name.c_str(), O_PATH | kStepFlags));
  if (next || errno != ENOENT) return next;
  next = Make(parent, name, mode);
  if (!next && errno == EEXIST) next = Descriptor(::openat(parent, name.c_str(), O_PATH | kStepFlags));
  return next;
}

bool Refuse(const std::string& path, const char* reason) {
  kinora::base::Log(LOG_ERR, "system/crvn_fs", "cannot make the directory " + path + ": " + reason);
  return false;
}

}  // namespace

namespace libkn::critical::crvnsdk {

bool CRVNFSMkdirPKinora(const std::string& path, unsigned int mode) {
  const std::vector<std::string> parts = kinora::base::PartsOf(path);
  if (parts.empty()) return Refuse(path, "no absolute path");
  Descriptor here(::open("/", O_PATH | kStepFlags));
  std::string walked;
  for (size_t i = 1; here && i < parts.size(); ++i) {
    walked += "/" + parts[i];
    here = Step(here.Get(), parts[i], ModeOf(walked, mode));
    if (!here) return Refuse(walked, std::strerror(errno));
    if (const char* const objection = Objection(here.Get(), walked)) return Refuse(walked, objection);
  }
  return static_cast<bool>(here);
}

}  // namespace libkn::critical::crvnsdk
