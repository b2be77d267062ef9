#include "platform/system/guarded_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/base/folder.h"

namespace kinora::system {
namespace {

using base::Descriptor;

constexpr mode_t kClosed = 0700;
constexpr mode_t kModeBits = 07777;

// In a root section the service's own account is the saved one.
bool IsOwnAccount(uid_t uid) {
  std::array<uid_t, 3> own{};
  ::getresuid(&own[0], &own[1], &own[2]);
  return std::ranges::find(own, uid) != own.end();
}

bool IsTrusted(uid_t uid, const FolderWish& wish) {
  return uid == wish.owner || uid == 0 || IsOwnAccount(uid) ||
         std::ranges::find(wish.trusted, uid) != wish.trusted.end();
}

// What cannot be changed stays; whether it serves all the same is for the caller to see.
void Settle(int folder, const struct stat& status, const FolderWish& wish) {
  const bool is_owners = status.st_uid == wish.owner;
  const bool has_mode = (status.st_mode & kModeBits) == wish.mode;
  if (is_owners && status.st_gid == wish.group && has_mode) return;
  const bool is_ours_and_new = status.st_uid == ::geteuid() && base::NamesIn(folder).empty();
  if (!is_owners && !is_ours_and_new) return;
  if (is_ours_and_new) static_cast<void>(::fchown(folder, wish.owner, wish.group) == 0);
  if (!has_mode) ::fchmod(folder, wish.mode);
}

std::vector<gid_t> GroupsOf(const ChildRights& rights) {
  if (rights.groups) return *rights.groups;
  std::vector<gid_t> own(static_cast<size_t>(std::max(::getgroups(0, nullptr), 0)));
  const int count = ::getgroups(static_cast<int>(own.size()), own.data());
  own.resize(static_cast<size_t>(std::max(count, 0)));
  return own;
}

}  // namespace

Descriptor OpenGuardedFolder(int parent, const std::string& name, const FolderWish& wish) {
  // Closed until it has its owner.
  if (::mkdirat(parent, name.c_str(), kClosed) != 0 && errno != EEXIST) return {};
  Descriptor folder(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (!folder || ::fstat(folder.Get(), &status) != 0) return {};
  if (!IsTrusted(status.st_uid, wish)) {
    errno = EPERM;
    return {};
  }
  Settle(folder.Get(), status, wish);
  return folder;
}

bool MayEnter(const ChildRights& rights, uid_t owner, gid_t group, mode_t mode) {
  if (rights.uid == owner) return (mode & S_IXUSR) != 0;
  const std::vector<gid_t> groups = GroupsOf(rights);
  if (rights.gid == group || std::ranges::find(groups, group) != groups.end()) return (mode & S_IXGRP) != 0;
  return (mode & S_IXOTH) != 0;
}

bool MayEnter(const ChildRights& rights, int folder) {
  struct stat status {};
  if (::fstat(folder, &status) != 0) return false;
  if (MayEnter(rights, status.st_uid, status.st_gid, status.st_mode)) return true;
  errno = EACCES;
  return false;
}

bool MayWriteIn(int folder) { return ::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) == 0; }

}  // namespace kinora::system
