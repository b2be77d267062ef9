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
  return std::exchange(own_, {}) + std::exchange(held_, {});
}

std::vector<std::string> HeaderHold::Lines() const {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end; (end = held_.find("\r\n", start)) != std::string::npos; start = end + 2)
    lines.push_back(held_.substr(start, end - start));
  return lines;
}

const HeaderHold& HoldStandardOutput(std::string own, void (*begins)()) {
  static HeldOutput output;
  output = {HeaderHold(std::move(own)), begins};
  cookie_io_functions_t functions{};
  functions.write = WriteHeld;
  FILE* const held = fopencookie(&output, "w", functions);
  if (held == nullptr) throw std::system_error(errno, std::generic_category(), "hold standard output");
  std::fflush(stdout);
  stdout = held;
  return output.hold;
}

}  // namespace kinora::entry
