#include "platform/engine/source_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "platform/base/file_time.h"
#include "platform/base/log.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/source_file";

bool IsSame(const SourceIdentity& source, const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_dev == source.device && status.st_ino == source.inode &&
         static_cast<uint64_t>(status.st_size) == source.size &&
         base::NanosecondsOf(status.st_mtim) == source.modified_ns;
}

}  // namespace

base::Descriptor OpenSource(const SourceIdentity& source) {
  base::Descriptor file(::open(source.path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.Get(), &status) != 0) {
    base::Log(LOG_ERR, kUnit, "[" + source.path + "] cannot be opened any more: " + std::strerror(errno));
    return {};
  }
  if (!IsSame(source, status)) {
    base::Log(LOG_ERR, kUnit, "[" + source.path + "] is another file now");
    return {};
  }
  return file;
}

}  // namespace kinora::engine
