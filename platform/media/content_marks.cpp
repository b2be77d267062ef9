#include "platform/media/content_marks.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/base/text.h"

namespace kinora::media {
namespace {

constexpr off_t kSpan = off_t{64} * 1024;

// Adds the bytes from `offset` on; false when they cannot all be read.
bool Add(crypto_generichash_state& state, int file, off_t offset, size_t count) {
  std::vector<unsigned char> bytes(count);
  size_t got = 0;
  while (got < count) {
    const ssize_t part = ::pread(file, bytes.data() + got, count - got, offset + static_cast<off_t>(got));
    if (part < 0 && errno == EINTR) continue;
    if (part <= 0) return false;
    got += static_cast<size_t>(part);
  }
  return ::crypto_generichash_update(&state, bytes.data(), bytes.size()) == 0;
}

}  // namespace

std::string ContentMarks(const std::string& path) {
  // Not to wait for a writer, should the name be a pipe's by now.
  const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat info {};
  if (!file || ::fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) return "";
  crypto_generichash_state state{};
  std::array<unsigned char, crypto_generichash_BYTES> digest{};
  ::crypto_generichash_init(&state, nullptr, 0, digest.size());
  const std::string size = std::to_string(info.st_size);
  ::crypto_generichash_update(&state, reinterpret_cast<const unsigned char*>(size.data()), size.size());
  const off_t span = std::min<off_t>(kSpan, info.st_size);
  if (!Add(state, file.Get(), 0, static_cast<size_t>(span)) ||
      !Add(state, file.Get(), info.st_size - span, static_cast<size_t>(span))) {
    return "";
  }
  ::crypto_generichash_final(&state, digest.data(), digest.size());
  return base::ToHex({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

}  // namespace kinora::media
