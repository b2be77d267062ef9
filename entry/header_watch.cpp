#include "entry/header_watch.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "entry/answer.h"

namespace kinora::entry {
namespace {

constexpr std::string_view kEnd = "\r\n\r\n";

ssize_t WriteWatched(void* watch, const char* bytes, size_t size) {
  if (!WriteAll(STDOUT_FILENO, {bytes, size})) return 0;
  static_cast<HeaderWatch*>(watch)->Feed({bytes, size});
  return static_cast<ssize_t>(size);
}

}  // namespace

void HeaderWatch::Feed(std::string_view bytes) {
  if (complete_) return;
  tail_ += bytes;
  complete_ = tail_.find(kEnd) != std::string::npos;
  if (tail_.size() >= kEnd.size()) tail_.erase(0, tail_.size() - (kEnd.size() - 1));
}

const HeaderWatch& WatchStandardOutput() {
  static HeaderWatch watch;
  cookie_io_functions_t functions{};
  functions.write = WriteWatched;
  FILE* const watched = fopencookie(&watch, "w", functions);
  if (watched == nullptr) throw std::system_error(errno, std::generic_category(), "watch standard output");
  std::fflush(stdout);
  stdout = watched;
  return watch;
}

}  // namespace kinora::entry
