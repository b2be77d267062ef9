#include "platform/base/descriptor.h"

#include <cerrno>

namespace kinora::base {

void Descriptor::Reset(int fd) {
  const int old = std::exchange(fd_, fd);
  if (old < 0) return;
  const int kept = errno;
  ::close(old);
  errno = kept;
}

}  // namespace kinora::base
