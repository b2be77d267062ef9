#include "contract/engine/vte_stream.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "contract/system/crvn_fs.h"
#include "contract/system/volume.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/engine/stream_id.h"
#include "platform/system/places.h"

namespace LibCrvnVTE {
namespace {

using kinora::base::Descriptor;
using kinora::base::Log;
using kinora::engine::IsStreamId;
using kinora::engine::IsStreamType;
using kinora::engine::kStreamIdAlphabet;
using kinora::engine::kStreamIdLength;

constexpr char kUnit[] = "engine/vte_stream";

void LogFailure(const std::string& what, int line = __builtin_LINE()) {
  Log(LOG_ERR, kUnit, what + ": " + std::strerror(errno), line);
}

std::optional<std::string> PickVolume(uint64_t bytes_needed) {
  VolumeInfo volume;
  unsigned int flags = 0;
  if (VolumeAvailGet(bytes_needed, 0, volume, flags, 0) > 0) return volume.path;
  Log(LOG_ERR, kUnit,
      "No volume with " + std::to_string(bytes_needed) + " bytes free (flags " + std::to_string(flags) + ")");
  return std::nullopt;
}

// A directory of another account could have links planted in it. `name` is taken from `parent`, or is
// absolute.
Descriptor OpenOwnDirectory(int parent, const std::string& name) {
  Descriptor directory(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (!directory || ::fstat(directory.Get(), &status) != 0) {
    LogFailure("Cannot open [" + name + "]");
    return {};
  }
  if (status.st_uid != ::geteuid()) {
    Log(LOG_ERR, kUnit, "[" + name + "] belongs to another account");
    return {};
  }
  return directory;
}

// `root`/`type_name`, both of this account.
Descriptor OpenTypeDirectory(const std::string& root, const std::string& type_name) {
  const Descriptor parent = OpenOwnDirectory(AT_FDCWD, root);
  return parent ? OpenOwnDirectory(parent.Get(), type_name) : Descriptor();
}

// The directory of one stream, removed again unless kept.
class NewDirectory {
 public:
  NewDirectory(const Descriptor& parent, const std::string& name) : parent_(parent), name_(name) {
    made_ = ::mkdirat(parent_.Get(), name_.c_str(), 0700) == 0;
  }
  ~NewDirectory() {
    if (made_ && !kept_) ::unlinkat(parent_.Get(), name_.c_str(), AT_REMOVEDIR);
  }
  NewDirectory(const NewDirectory&) = delete;
  NewDirectory& operator=(const NewDirectory&) = delete;

  bool IsMade() const { return made_; }
  void Keep() { kept_ = true; }

 private:
  const Descriptor& parent_;
  const std::string name_;
  bool made_ = false;
  bool kept_ = false;
};

}  // namespace

std::string VTEStream::GetRandStreamID(const std::string& file_path) {
  if (file_path.empty()) return "";
  std::array<uint8_t, kStreamIdLength> random{};
  if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    LogFailure("No random bytes");
    return "";
  }
  std::string id;
  for (const uint8_t byte : random) id += kStreamIdAlphabet[byte % kStreamIdAlphabet.size()];
  return id;
}

bool VTEStream::GetVolTmpAndSymlink(uint64_t bytes_needed, const std::string& stream_id,
                                    const std::string& type_name) {
  if (!IsStreamId(stream_id) || !IsStreamType(type_name)) {
    Log(LOG_ERR, kUnit, "Malformed stream id or type");
    return false;
  }
  const std::optional<std::string> volume = PickVolume(bytes_needed);
  if (!volume) return false;
  const std::string root = kinora::system::StreamsOnVolume(*volume);
  if (!libkn::critical::crvnsdk::CRVNFSMkdirPKinora(root + "/" + type_name, 0700)) return false;
  const Descriptor links = OpenTypeDirectory(kinora::system::kWorkspace, type_name);
  const Descriptor folders = OpenTypeDirectory(root, type_name);
  if (!links || !folders) return false;
  NewDirectory directory(folders, stream_id);
  const std::string target = root + "/" + type_name + "/" + stream_id;
  if (!directory.IsMade()) {
    LogFailure("Cannot make [" + target + "]");
    return false;
  }
  if (::symlinkat(target.c_str(), links.Get(), stream_id.c_str()) != 0) {
    LogFailure("Cannot link [" + target + "]");
    return false;
  }
  directory.Keep();
  return true;
}

}  // namespace LibCrvnVTE
