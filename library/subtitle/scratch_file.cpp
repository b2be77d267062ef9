#include "library/subtitle/scratch_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "contract/system/random_string.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr off_t kMostBytes = off_t{64} << 20;

// Only a plain file that is there already: the name is in /tmp.
int Open(const std::string& path, int flags) {
  const int file = ::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  struct stat status {};
  if (file < 0 || (::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= kMostBytes))
    return file;
  ::close(file);
  return -1;
}

// With ::read or ::write, until all is done or it goes on no more. How much that was.
template <typename Move, typename Byte>
size_t MoveAll(Move move, int file, Byte* bytes, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t moved = move(file, bytes + done, size - done);
    if (moved < 0 && errno == EINTR) continue;
    if (moved <= 0) break;
    done += static_cast<size_t>(moved);
  }
  return done;
}

}  // namespace

ScratchFile::ScratchFile(const std::string& prefix, const std::string& extension)
    : path_("/tmp/CRVNVIDEO_" + prefix + "_" + libkn::util::RandomString("", 8) + "." +
            (extension.empty() ? "srt" : extension)) {}

ScratchFile::~ScratchFile() { ::unlink(path_.c_str()); }

std::string ScratchFile::Read() const {
  const int file = Open(path_, O_RDONLY);
  if (file < 0) return "";
  struct stat status {};
  ::fstat(file, &status);
  std::string content(static_cast<size_t>(status.st_size), '\0');
  content.resize(MoveAll(::read, file, content.data(), content.size()));
  ::close(file);
  return content;
}

bool ScratchFile::Overwrite(const std::string& content) const {
  const int file = Open(path_, O_WRONLY);
  if (file < 0) return false;
  const bool written =
      ::ftruncate(file, 0) == 0 && MoveAll(::write, file, content.data(), content.size()) == content.size();
  return ::close(file) == 0 && written;
}

}  // namespace crvnkn::webapi::subtitle
