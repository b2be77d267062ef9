#include "platform/engine/scratch_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace kinora::engine {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

ScratchFile::ScratchFile(std::string path) : path_(std::move(path)), scratch_(path_ + kScratchSuffix) {
  file_ = base::Descriptor(::mkostemp(scratch_.data(), O_CLOEXEC));
  if (!file_) Fail("cannot make a file beside " + path_);
}

ScratchFile::~ScratchFile() {
  if (!scratch_.empty()) ::unlink(scratch_.c_str());
}

void ScratchFile::Empty() const {
  if (::ftruncate(file_.Get(), 0) != 0 || ::lseek(file_.Get(), 0, SEEK_SET) != 0) {
    Fail("cannot empty " + scratch_);
  }
}

void ScratchFile::Replace() {
  if (::rename(scratch_.c_str(), path_.c_str()) != 0) Fail("cannot rename " + scratch_);
  scratch_.clear();
}

void ScratchFile::PublishOnce() {
  if (::fdatasync(file_.Get()) != 0) Fail("cannot sync " + scratch_);
  if (::link(scratch_.c_str(), path_.c_str()) != 0 && errno != EEXIST) Fail("cannot publish " + scratch_);
}

}  // namespace kinora::engine
