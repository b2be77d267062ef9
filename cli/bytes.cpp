#include "cli/bytes.h"

#include <array>

namespace kinora::cli {

std::string ToBytesText(uint64_t bytes) {
  constexpr std::array kUnits = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  size_t unit = 0;
  uint64_t tenth = 0;
  for (; bytes >= 1024; ++unit) {
    tenth = bytes % 1024 * 10 / 1024;
    bytes /= 1024;
  }
  const std::string whole = std::to_string(bytes);
  return (unit == 0 ? whole : whole + "." + std::to_string(tenth)) + " " + kUnits.at(unit);
}

}  // namespace kinora::cli
