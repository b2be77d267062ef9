#include "cli/service_account.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/base/descriptor.h"
#include "platform/base/text.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"

namespace kinora::cli {
namespace {

using base::Descriptor;

constexpr int kDeepest = 16;  // folders below a place; the service makes far fewer

[[noreturn]] void Fail(const std::string& what, const std::string& path, const std::string& why) {
  throw std::runtime_error(what + " " + base::ToOneLine(path) + ": " + why);
}

struct Account {
  uid_t uid;
  gid_t gid;
};

// Root's rights for a while, in a process whose real id is root's.
class AsRoot {
 public:
  AsRoot() : uid_(geteuid()) {
    if (seteuid(0) != 0)
      throw std::runtime_error(std::string("cannot work as root: ") + std::strerror(errno));
  }
  ~AsRoot() {
    if (seteuid(uid_) != 0) std::abort();
  }
  AsRoot(const AsRoot&) = delete;
  AsRoot& operator=(const AsRoot&) = delete;

 private:
  const uid_t uid_;
};

bool IsOf(const struct stat& status, const Account& account) {
  return status.st_uid == account.uid && status.st_gid == account.gid;
}

// What is open here is what was looked at: nobody can exchange it in between. A file with a second name may
// be one from elsewhere, which an earlier owner of the place has put here to be given it.
bool Give(int entry, const struct stat& status, const Account& account) {
  if (IsOf(status, account)) return true;
  if (!S_ISDIR(status.st_mode) && status.st_nlink != 1) return false;
  return fchownat(entry, "", account.uid, account.gid, AT_EMPTY_PATH) == 0;
}

using Listing = std::unique_ptr<DIR, int (*)(DIR*)>;

Listing List(int folder) {
  const int readable = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* const listing = readable < 0 ? nullptr : fdopendir(readable);
  if (listing == nullptr && readable >= 0) close(readable);
  return {listing, closedir};
}

// Gives away what lies in the folder, which is given already; stays on its device.
void GiveContent(int folder, dev_t device, const std::string& path, const Account& account, int depth) {
  const Listing listing = List(folder);
  if (!listing || depth > kDeepest) Fail("cannot look through", path, std::strerror(listing ? ELOOP : errno));
  while (const dirent* const found = readdir(listing.get())) {
    const std::string name = found->d_name;
    if (name == "." || name == "..") continue;
    const Descriptor entry(openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!entry || fstat(entry.Get(), &status) != 0) continue;  // it went meanwhile
    if (status.st_dev != device) continue;
    if (!Give(entry.Get(), status, account)) {
      std::cerr << "kinora: warning: " << base::ToOneLine(path + "/" + name)
                << " is left to its owner: it cannot be given to the service's account\n";
    } else if (S_ISDIR(status.st_mode)) {
      GiveContent(entry.Get(), device, path + "/" + name, account, depth + 1);
    }
  }
}

void GivePlace(int folder, const std::string& path, const Account& account) {
  struct stat status {};
  if (fstat(folder, &status) != 0 || !Give(folder, status, account)) {
    Fail("cannot give away", path, std::strerror(errno));
  }
  GiveContent(folder, status.st_dev, path, account, 0);
}

// Anybody may make names in /tmp, and somebody may have been faster.
void CheckNotPlanted(int folder, const std::string& path, const Account& account) {
  struct stat status {};
  if (fstat(folder, &status) != 0) Fail("cannot look at", path, std::strerror(errno));
  if (status.st_uid != 0 && status.st_uid != account.uid) {
    Fail("cannot use", path, "it belongs to another account; remove it");
  }
  if ((status.st_mode & 022) != 0) Fail("cannot use", path, "others may write into it; remove it");
}

Descriptor MakeAndOpen(int parent, const std::string& name, const std::string& path, mode_t mode, int flags) {
  if (mkdirat(parent, name.c_str(), mode) != 0 && errno != EEXIST) {
    Fail("cannot make the folder", path, std::strerror(errno));
  }
  Descriptor folder(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
  if (!folder) Fail("cannot open the folder", path, std::strerror(errno));
  return folder;
}

void GiveWorkspace(const Account& account) {
  const Descriptor folder = MakeAndOpen(AT_FDCWD, system::kWorkspace, system::kWorkspace, 0700, O_NOFOLLOW);
  CheckNotPlanted(folder.Get(), system::kWorkspace, account);
  GivePlace(folder.Get(), system::kWorkspace, account);
}

// The package's folder is root's: an administrator may have put a link to a larger disk there.
void GiveVar(const Account& account) {
  const Descriptor folder = MakeAndOpen(AT_FDCWD, system::kVar, system::kVar, 0700, 0);
  GivePlace(folder.Get(), system::kVar, account);
}

// A volume is not Kinora's own; the folder of streams on it is.
void GiveVolume(const std::string& volume, const Account& account) {
  const Descriptor top(open(volume.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!top) Fail("cannot open the volume", volume, std::strerror(errno));
  const Descriptor shared = MakeAndOpen(top.Get(), "@tmp", volume + "/@tmp", 0755, O_NOFOLLOW);
  CheckNotPlanted(shared.Get(), volume + "/@tmp", account);
  const std::string path = system::StreamsOnVolume(volume);
  const Descriptor folder = MakeAndOpen(shared.Get(), "Kinora", path, 0700, O_NOFOLLOW);
  CheckNotPlanted(folder.Get(), path, account);
  GivePlace(folder.Get(), path, account);
}

void GivePlaces(const system::Settings& settings, const Account& account) {
  const AsRoot root;
  GiveWorkspace(account);
  GiveVar(account);
  for (const std::string& volume : settings.volumes) {
    try {
      GiveVolume(volume, account);
    } catch (const std::runtime_error& error) {  // the others may do
      std::cerr << "kinora: warning: " << error.what() << "\n";
    }
  }
}

}  // namespace

void WorkAsServiceAccount(const system::Settings& settings) {
  system::EnterServiceIdentity(settings);
  const Account account{geteuid(), getegid()};
  if (getuid() != 0 || account.uid == 0) return;
  GivePlaces(settings, account);
  if (faccessat(AT_FDCWD, system::kSettingsFile, R_OK, AT_EACCESS) != 0 && errno == EACCES) {
    Fail("the service's account cannot read", system::kSettingsFile, "see its mode and its folders'");
  }
}

}  // namespace kinora::cli
