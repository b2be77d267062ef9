#include "platform/system/transfer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace kinora::system {
namespace {

constexpr size_t kChunk = 1U << 20;
constexpr size_t kCopyBuffer = 128U << 10;

using std::chrono::milliseconds;

// A call that waits by itself waits for ever. The descriptor may be shared with others, who find it as it
// was.
class NonBlocking {
 public:
  explicit NonBlocking(int descriptor) : descriptor_(descriptor), flags_(::fcntl(descriptor, F_GETFL)) {
    if (MustChange()) ::fcntl(descriptor_, F_SETFL, flags_ | O_NONBLOCK);
  }
  ~NonBlocking() {
    if (MustChange()) ::fcntl(descriptor_, F_SETFL, flags_);
  }
  NonBlocking(const NonBlocking&) = delete;
  NonBlocking& operator=(const NonBlocking&) = delete;

 private:
  bool MustChange() const { return flags_ >= 0 && (flags_ & O_NONBLOCK) == 0; }

  int descriptor_;
  int flags_;
};

// After a call that failed: whether it is worth another try, once the reader has room where that was missing.
bool MayGoOn(int to, milliseconds patience) {
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd room{to, POLLOUT, 0};
  const int count = ::poll(&room, 1, static_cast<int>(patience.count()));
  if (count == 0) errno = ETIMEDOUT;
  return count > 0 || (count < 0 && errno == EINTR);
}

// For targets and file systems between which the kernel cannot move pages.
bool CopyRange(int to, int file, ByteRange range, milliseconds patience) {
  std::vector<char> buffer(kCopyBuffer);
  while (range.length > 0) {
    const size_t wanted = std::min<uint64_t>(range.length, buffer.size());
    const ssize_t got = ::pread(file, buffer.data(), wanted, static_cast<off_t>(range.first));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0 || !SendBytes(to, {buffer.data(), static_cast<size_t>(got)}, patience)) return false;
    range.first += static_cast<uint64_t>(got);
    range.length -= static_cast<uint64_t>(got);
  }
  return true;
}

}  // namespace

bool SendBytes(int to, std::string_view bytes, milliseconds patience) {
  const NonBlocking waits_here(to);
  while (!bytes.empty()) {
    const ssize_t sent = ::write(to, bytes.data(), bytes.size());
    if (sent < 0 && !MayGoOn(to, patience)) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

// Measured with a file of 1 GB in the page cache: through a pipe and through a local socket, sendfile needs a
// third of the processor time of read and write, and as much as splice, which knows pipes only.
bool SendRange(int to, int file, ByteRange range, milliseconds patience) {
  const NonBlocking waits_here(to);
  while (range.length > 0) {
    auto offset = static_cast<off_t>(range.first);
    const ssize_t sent = ::sendfile(to, file, &offset, std::min<uint64_t>(range.length, kChunk));
    if (sent == 0) return false;  // the file has become shorter
    if (sent < 0 && (errno == EINVAL || errno == ENOSYS)) return CopyRange(to, file, range, patience);
    if (sent < 0 && !MayGoOn(to, patience)) return false;
    if (sent > 0) {
      range.first += static_cast<uint64_t>(sent);
      range.length -= static_cast<uint64_t>(sent);
    }
  }
  return true;
}

}  // namespace kinora::system
