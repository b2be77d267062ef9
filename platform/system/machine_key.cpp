#include "platform/system/machine_key.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/base/bounded_file.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/system/places.h"

namespace kinora::system {
namespace {

constexpr char kUnit[] = "system/machine_key";
constexpr uid_t kSame = static_cast<uid_t>(-1);

// Root's rights as long as it lives, where the process may have them; its own else.
class HighestRights {
 public:
  HighestRights() : before_(::geteuid()), changed_(before_ != 0 && ::setresuid(kSame, 0, kSame) == 0) {}
  ~HighestRights() {
    if (changed_ && ::setresuid(kSame, before_, kSame) != 0) std::abort();
  }
  HighestRights(const HighestRights&) = delete;
  HighestRights& operator=(const HighestRights&) = delete;

 private:
  const uid_t before_;
  const bool changed_;
};

void Complain(const char* what, const char* reason) {
  base::Log(LOG_ERR, kUnit, std::string(what) + " " + kMachineKey + ": " + reason);
}

bool IsOursAlone(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_uid == ::geteuid() && (status.st_mode & 077) == 0;
}

// Written whole before it gets its name; whoever is second takes what the first has made.
bool Make() {
  std::string scratch = std::string(kMachineKey) + ".XXXXXX";
  const base::Descriptor file(::mkostemp(scratch.data(), O_CLOEXEC));
  if (!file) return false;
  MachineKey key{};
  ::randombytes_buf(key.data(), key.size());
  const bool written = ::write(file.Get(), key.data(), key.size()) == static_cast<ssize_t>(key.size()) &&
                       ::fsync(file.Get()) == 0;
  ::sodium_memzero(key.data(), key.size());
  const bool named = written && (::link(scratch.c_str(), kMachineKey) == 0 || errno == EEXIST);
  const int error = errno;
  ::unlink(scratch.c_str());
  errno = error;
  return named;
}

bool IsThere() {
  struct stat status {};
  return ::lstat(kMachineKey, &status) == 0;
}

}  // namespace

std::optional<MachineKey> ReadMachineKey() {
  const HighestRights rights;
  const base::Descriptor file(::open(kMachineKey, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  std::optional<std::string> content =
      file ? base::ReadPlainFile(file.Get(), std::tuple_size_v<MachineKey>) : std::nullopt;
  if (!content) {
    Complain("cannot read", std::strerror(errno));
    return std::nullopt;
  }
  MachineKey key{};
  const bool whole = content->size() == key.size();
  if (whole) std::copy(content->begin(), content->end(), key.begin());
  ::sodium_memzero(content->data(), content->size());
  if (whole && IsOursAlone(file.Get())) return key;
  Complain("no use is made of", whole ? "others may have read or written it" : "it holds no key");
  return std::nullopt;
}

std::optional<MachineKey> ReadOrMakeMachineKey() {
  const HighestRights rights;
  if (::sodium_init() < 0 || (!IsThere() && !Make())) {
    Complain("cannot make", std::strerror(errno));
    return std::nullopt;
  }
  return ReadMachineKey();
}

}  // namespace kinora::system
