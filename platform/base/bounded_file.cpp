#include "platform/base/bounded_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kinora::base {

std::optional<std::string> ReadPlainFile(int file, size_t limit) {
  struct stat status {};
  if (::fstat(file, &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return std::nullopt;
  }
  // One byte more tells a file that is too large, whatever it has grown to since.
  std::string content(limit + 1, '\0');
  size_t length = 0;
  while (length < content.size()) {
    const ssize_t got = ::read(file, content.data() + length, content.size() - length);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    length += static_cast<size_t>(got);
  }
  if (length > limit) {
    errno = EFBIG;
    return std::nullopt;
  }
  content.resize(length);
  return content;
}

}  // namespace kinora::base
