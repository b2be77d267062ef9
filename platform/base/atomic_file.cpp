#include "platform/base/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/base/text.h"

namespace kinora::base {
namespace {

constexpr size_t kSuffix = 6;  // the random characters of a scratch file's name

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

AtomicFile::AtomicFile(std::string path, unsigned int mode)
    : path_(std::move(path)), scratch_(path_ + ".XXXXXX") {
  file_ = Descriptor(::mkostemp(scratch_.data(), O_CLOEXEC));
  if (!file_) Fail("cannot make a file beside " + path_);
  if (::fchmod(file_.Get(), mode) != 0) {
    ::unlink(scratch_.c_str());
    Fail("cannot set the mode of " + scratch_);
  }
}

AtomicFile::~AtomicFile() {
  if (!scratch_.empty()) ::unlink(scratch_.c_str());
}

void AtomicFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file_.Get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) Fail("cannot write " + scratch_);
    bytes.remove_prefix(static_cast<size_t>(written));
  }
}

void AtomicFile::Commit() {
  // Without the sync a crash of the machine could leave the new name with no content under it.
  if (::fsync(file_.Get()) != 0) Fail("cannot sync " + scratch_);
  if (::rename(scratch_.c_str(), path_.c_str()) != 0) Fail("cannot rename " + scratch_ + " to " + path_);
  scratch_.clear();
  const Descriptor directory(::open(FolderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory) ::fsync(directory.Get());
}

void WriteFileAtomically(const std::string& path, std::string_view bytes, unsigned int mode) {
  AtomicFile file(path, mode);
  file.Write(bytes);
  file.Commit();
}

void RemoveScratchOf(const std::string& path) noexcept try {
  const std::string name = std::filesystem::path(path).filename().string() + ".";
  for (const auto& entry : std::filesystem::directory_iterator(FolderOf(path))) {
    const std::string candidate = entry.path().filename();
    if (candidate.size() == name.size() + kSuffix && candidate.starts_with(name))
      ::unlink(entry.path().c_str());
  }
} catch (const std::exception&) {  // the folder cannot be read: whoever writes there next says so
}

}  // namespace kinora::base
