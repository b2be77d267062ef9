#include "helpers/hanzi/convert.h"

#include <algorithm>

namespace kinora::helper {
namespace {

constexpr size_t kPart = size_t{64} << 10;  // bytes

// Up to the end of the line that is the first to make the part long enough. `text` holds no zero byte.
std::string_view FirstPart(std::string_view text) {
  const size_t end = text.size() <= kPart ? std::string_view::npos : text.find('\n', kPart - 1);
  return text.substr(0, end == std::string_view::npos ? text.size() : end + 1);
}

}  // namespace

std::string ConvertInParts(std::string_view text, const ConvertPart& convert) {
  std::string converted;
  while (!text.empty()) {
    if (text.front() == '\0') {
      converted += '\0';
      text.remove_prefix(1);
      continue;
    }
    const std::string_view part = FirstPart(text.substr(0, text.find('\0')));
    converted += convert(std::string(part));
    text.remove_prefix(part.size());
  }
  return converted;
}

}  // namespace kinora::helper
