#include "platform/system/identity.h"

#include <grp.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <system_error>

#include "platform/base/log.h"

namespace kinora::system {
namespace {

constexpr char kNobody[] = "nobody";
constexpr uid_t kUnchangedUid = static_cast<uid_t>(-1);

struct Account {
  std::string name;
  uid_t uid = 0;
  gid_t gid = 0;
};

// `find` is getpwnam_r or getpwuid_r. errno is 0 when there is simply no such account.
template <typename Find, typename Key>
std::optional<Account> FindAccount(Find find, Key key) {
  std::vector<char> buffer(16 << 10);
  passwd entry{};
  passwd* found = nullptr;
  errno = find(key, &entry, buffer.data(), buffer.size(), &found);
  if (found == nullptr) return std::nullopt;
  return Account{entry.pw_name, entry.pw_uid, entry.pw_gid};
}

std::vector<gid_t> GroupsOf(const Account& account) {
  std::vector<gid_t> groups(32);
  int count = static_cast<int>(groups.size());
  while (::getgrouplist(account.name.c_str(), account.gid, groups.data(), &count) < 0) {
    groups.resize(std::max(static_cast<size_t>(count), groups.size() * 2));
    count = static_cast<int>(groups.size());
  }
  groups.resize(static_cast<size_t>(count));
  return groups;
}

bool InViewOfOneId() {
  std::ifstream file("/proc/self/uid_map");
  const std::string map(std::istreambuf_iterator<char>(file), {});
  return MapsOneId(map);
}

ChildRights RightsOf(const Account& account) {
  ChildRights rights;
  rights.uid = account.uid;
  rights.gid = account.gid;
  rights.groups = GroupsOf(account);
  return rights;
}

// The account of a process that root has started and that has left root's effective id, or will.
std::optional<Account> AccountForChildren(const Settings& settings) {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  ::getresuid(&real, &effective, &saved);
  for (const uid_t uid : {effective, saved}) {
    if (uid == 0) continue;
    std::optional<Account> account = FindAccount(::getpwuid_r, uid);
    if (account) return account;
    const gid_t gid = ::getegid();
    return Account{"", uid, gid == 0 ? static_cast<gid_t>(uid) : gid};
  }
  if (!settings.account.empty()) {
    std::optional<Account> account = FindAccount(::getpwnam_r, settings.account.c_str());
    if (!account || account->uid != 0) return account;
  }
  return FindAccount(::getpwnam_r, kNobody);
}

[[noreturn]] void Fail(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

// Raw system calls: the library's own wrappers synchronize with other threads, which a fresh child has not.
long SetUids(uid_t real, uid_t effective, uid_t saved) {
  return ::syscall(SYS_setresuid, real, effective, saved);
}
long SetGids(gid_t gid) { return ::syscall(SYS_setresgid, gid, gid, gid); }

// Closes the ways on which executing a program could give capabilities back. A process that has no rights is
// refused here: it has none to lose.
void CloseWaysToCapabilities() {
  for (unsigned long capability = 0; capability <= 63; ++capability) {
    ::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
  }
  ::prctl(PR_SET_SECUREBITS, SECBIT_NOROOT | SECBIT_NOROOT_LOCKED | SECBIT_KEEP_CAPS_LOCKED |
                                 SECBIT_NO_CAP_AMBIENT_RAISE | SECBIT_NO_CAP_AMBIENT_RAISE_LOCKED);
  ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
}

bool ClearCapabilitySets() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> sets{};
  return ::syscall(SYS_capset, &header, sets.data()) == 0;
}

bool HasNoCapability() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> sets{};
  if (::syscall(SYS_capget, &header, sets.data()) != 0) return false;
  for (const auto& set : sets) {
    if ((set.effective | set.permitted | set.inheritable) != 0) return false;
  }
  return true;
}

// Whether the identity is as wanted and stays so.
bool IsSettled(const ChildRights& rights) {
  std::array<uid_t, 3> uids{};
  std::array<gid_t, 3> gids{};
  if (::syscall(SYS_getresuid, &uids[0], &uids[1], &uids[2]) != 0 ||
      ::syscall(SYS_getresgid, &gids[0], &gids[1], &gids[2]) != 0) {
    return false;
  }
  for (const uid_t uid : uids) {
    if (uid != rights.uid) return false;
  }
  for (const gid_t gid : gids) {
    if (gid != rights.gid) return false;
  }
  if (rights.uid != 0 && SetUids(kUnchangedUid, 0, kUnchangedUid) == 0) return false;
  return rights.keep_capabilities || HasNoCapability();
}

}  // namespace

bool MapsOneId(std::string_view map) {
  std::istringstream lines{std::string(map)};
  unsigned long inside = 0;
  unsigned long outside = 0;
  unsigned long count = 0;
  unsigned long total = 0;
  while (lines >> inside >> outside >> count) total += count;
  return total == 1;
}

void EnterServiceIdentity(const Settings& settings) {
  if (::geteuid() != 0 || settings.account.empty() || InViewOfOneId()) return;
  const std::optional<Account> account = FindAccount(::getpwnam_r, settings.account.c_str());
  if (!account) Fail(errno == 0 ? ENOENT : errno, "no account " + settings.account);
  if (account->uid == 0) return;
  const std::vector<gid_t> groups = GroupsOf(*account);
  // Real root too when the program was installed set-uid root and a web server's account has started it.
  if (::setgroups(groups.size(), groups.data()) != 0 || ::setresgid(0, account->gid, account->gid) != 0 ||
      ::setresuid(0, account->uid, account->uid) != 0) {
    Fail(errno, "cannot become the account " + settings.account);
  }
  if (::geteuid() != account->uid || ::getegid() != account->gid) {
    Fail(EPERM, "did not become the account " + settings.account);
  }
}

std::optional<ChildRights> DroppedRights(const Settings& settings) {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  ::getresuid(&real, &effective, &saved);
  if ((real != 0 && effective != 0 && saved != 0) || InViewOfOneId()) {
    ChildRights rights = CallerRights();
    rights.keep_capabilities = false;
    return rights;
  }
  const std::optional<Account> account = AccountForChildren(settings);
  if (!account) {
    const std::string wanted = settings.account.empty() ? "one that is set" : settings.account;
    base::Log(LOG_ERR, "system/identity",
              "no account for programs without rights: neither " + wanted + " nor " + kNobody);
    return std::nullopt;
  }
  return RightsOf(*account);
}

ChildRights CallerRights() {
  ChildRights rights;
  rights.uid = ::geteuid();
  rights.gid = ::getegid();
  rights.keep_capabilities = rights.uid == 0;
  return rights;
}

ChildRights RightsOfOwner(uid_t uid, gid_t gid) {
  ChildRights rights = CallerRights();
  rights.keep_capabilities = false;
  if (rights.uid != 0 || InViewOfOneId()) return rights;
  rights.uid = uid;
  rights.gid = gid;
  rights.groups.emplace();
  return rights;
}

RootSection::RootSection() : before_(::geteuid()) {
  // Refused to those who have no way to root; they go on as who they are.
  if (before_ != 0) entered_ = ::setresuid(kUnchangedUid, 0, kUnchangedUid) == 0;
}

RootSection::~RootSection() {
  if (entered_ && ::setresuid(kUnchangedUid, before_, kUnchangedUid) != 0) std::abort();
}

bool AssumeRights(const ChildRights& rights) noexcept {
  // Back to root first, where there is a way: only root may set groups and give up the bounding set.
  std::array<uid_t, 3> uids{};
  ::syscall(SYS_getresuid, &uids[0], &uids[1], &uids[2]);
  const bool may_be_root = uids[0] == 0 || uids[2] == 0;
  if (uids[1] != 0 && may_be_root && SetUids(kUnchangedUid, 0, kUnchangedUid) != 0) return false;
  if (!rights.keep_capabilities) CloseWaysToCapabilities();
  if (rights.groups && ::syscall(SYS_setgroups, rights.groups->size(), rights.groups->data()) != 0) {
    return false;
  }
  if (SetGids(rights.gid) != 0 || SetUids(rights.uid, rights.uid, rights.uid) != 0) return false;
  if (!rights.keep_capabilities && !ClearCapabilitySets()) return false;
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
  errno = EPERM;
  return IsSettled(rights);
}

}  // namespace kinora::system
