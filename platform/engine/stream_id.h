// The ids and types of streams. Both stand in paths, so nothing else than these forms is ever let through.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace kinora::engine {

// 32 letters and digits of five random bits each.
inline constexpr std::string_view kStreamIdAlphabet = "abcdefghijklmnopqrstuvwxyz234567";
inline constexpr size_t kStreamIdLength = 32;

// The folders of the workspace.
inline constexpr std::array<std::string_view, 4> kStreamTypes = {"RAW", "HLS", "SS", "WEBM"};

inline bool IsStreamId(std::string_view id) {
  return id.size() == kStreamIdLength && id.find_first_not_of(kStreamIdAlphabet) == std::string_view::npos;
}

inline bool IsStreamType(std::string_view name) {
  for (const std::string_view type : kStreamTypes) {
    if (name == type) return true;
  }
  return false;
}

}  // namespace kinora::engine
