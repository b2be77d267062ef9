#include "entry/failed_stream.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/base/descriptor.h"

namespace kinora::entry {
namespace {

Answer NotThere() { return ErrorAnswer(kNotFound, "The video is not there any more"); }

std::string SourceOf(const std::string& record) {
  const base::Descriptor file(open(record.c_str(), O_RDONLY | O_CLOEXEC));
  char path[2048];
  const ssize_t length = file ? read(file.Get(), path, sizeof path) : 0;
  return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

}  // namespace

Answer FailedStreamAnswer(const std::string& record) {
  const std::string source = SourceOf(record);
  if (source.empty()) return NotThere();
  const base::Descriptor file(open(source.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file) return ErrorAnswer(kServiceFailure, "The stream cannot be served");
  if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP) return NotThere();
  if (errno == EMFILE || errno == ENFILE || errno == ENOMEM) {
    return ErrorAnswer(kServiceFailure, "The machine is too busy", 503);
  }
  return ErrorAnswer(kServiceFailure, "The video cannot be read", 409);
}

}  // namespace kinora::entry
