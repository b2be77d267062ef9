#include "entry/stream_faults.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/base/descriptor.h"

namespace kinora::entry {
namespace {

void LookAtSource(const std::string& path, StreamFaults& faults) {
  const base::Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file) return;
  faults.source_gone = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
  faults.exhausted = errno == EMFILE || errno == ENFILE || errno == ENOMEM;
  faults.source_unreadable = !faults.source_gone && !faults.exhausted;
}

}  // namespace

StreamFaults FindRawFaults(const std::string& record) {
  StreamFaults faults;
  const base::Descriptor file(open(record.c_str(), O_RDONLY | O_CLOEXEC));
  char path[2048];
  const ssize_t length = file ? read(file.Get(), path, sizeof path) : 0;
  if (length > 0) {
    LookAtSource(std::string(path, static_cast<size_t>(length)), faults);
  } else {
    faults.stream_gone = true;
  }
  return faults;
}

}  // namespace kinora::entry
