#include "entry/header_hold.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "entry/answer.h"

namespace kinora::entry {
namespace {

struct HeldOutput {
  HeaderHold hold;
  void (*begins)() = nullptr;
};

ssize_t WriteHeld(void* cookie, const char* bytes, size_t size) {
  auto& output = *static_cast<HeldOutput*>(cookie);
  const bool had_begun = output.hold.Complete();
  const std::string released = output.hold.Feed({bytes, size});
  if (!had_begun && output.hold.Complete() && output.begins != nullptr) output.begins();
  return WriteAll(STDOUT_FILENO, released) ? static_cast<ssize_t>(size) : 0;
}

}  // namespace

std::string HeaderHold::Feed(std::string_view bytes) {
  held_ += bytes;
  if (!complete_ && held_.find("\r\n\r\n") == std::string::npos) return {};
  complete_ = true;
  return std::exchange(held_, {});
}

const HeaderHold& HoldStandardOutput(void (*begins)()) {
  static HeldOutput output;
  output.begins = begins;
  cookie_io_functions_t functions{};
  functions.write = WriteHeld;
  FILE* const held = fopencookie(&output, "w", functions);
  if (held == nullptr) throw std::system_error(errno, std::generic_category(), "hold standard output");
  std::fflush(stdout);
  stdout = held;
  return output.hold;
}

}  // namespace kinora::entry
