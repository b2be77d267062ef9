// The header in front of every packet of AAC in a transport stream (ISO/IEC 13818-7, 6.2).
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace kinora::helper {

inline constexpr int kAdtsSamples = 1024;  // in a packet

struct AdtsHeader {
  int profile = 0;       // 1: low complexity
  int rate = 0;          // Hz; 0: an index that stands for none
  size_t size = 0;       // bytes, of the header
  size_t whole = 0;      // bytes, with the header
  bool several = false;  // it holds more than one packet
};

// Nothing when `bytes` do not start with one, or end within it.
std::optional<AdtsHeader> ReadAdts(std::string_view bytes);

}  // namespace kinora::helper
