#include "library/subtitle/plugin_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace crvnkn::webapi::subtitle {
namespace {

constexpr uid_t kOrdinaryUser = 1024;
constexpr gid_t kOrdinaryGroup = 100;
constexpr uid_t kNobody = 65534;

class OpenPath {
 public:
  OpenPath(const std::string& path, int flags) : number_(::open(path.c_str(), O_PATH | O_CLOEXEC | flags)) {}
  ~OpenPath() {
    if (number_ >= 0) ::close(number_);
  }
  OpenPath(const OpenPath&) = delete;
  OpenPath& operator=(const OpenPath&) = delete;

  int Number() const { return number_; }

 private:
  const int number_;
};

// In a section as root, the saved id is that of the account to which root's rights are given back. Children
// work under it, or as nobody where that is root, too.
bool MayBeOfPlugin(const struct stat& status) {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  ::getresuid(&real, &effective, &saved);
  return status.st_uid == saved || status.st_uid == kNobody || status.st_uid == kOrdinaryUser;
}

}  // namespace

void GiveToOrdinaryUser(const std::string& file) {
  const OpenPath opened(file, O_NOFOLLOW);
  struct stat status {};
  if (::fstat(opened.Number(), &status) != 0 || !S_ISREG(status.st_mode) || !MayBeOfPlugin(status)) return;
  [[maybe_unused]] const int result =
      ::fchownat(opened.Number(), "", kOrdinaryUser, kOrdinaryGroup, AT_EMPTY_PATH);
}

void RemovePluginFile(const std::string& file) {
  const size_t slash = file.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? file : file.substr(slash + 1);
  // Asked of the folder that is open, so that nobody can put another one into the path in between.
  const OpenPath parent(folder, O_DIRECTORY);
  struct stat status {};
  if (::fstatat(parent.Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (MayBeOfPlugin(status)) ::unlinkat(parent.Number(), name.c_str(), 0);
}

}  // namespace crvnkn::webapi::subtitle
