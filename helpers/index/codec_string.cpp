#include "helpers/index/codec_string.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace kinora::helper {
namespace {

uint8_t At(std::string_view bytes, size_t place) { return static_cast<uint8_t>(bytes[place]); }

std::string AvcString(uint8_t profile, uint8_t constraints, uint8_t level) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "avc1.%02x%02x%02x", profile, constraints, level);
  return text.data();
}

// ISO/IEC 14496-15, 5.3.3.1: version, profile, compatibility, level. In a stream with start codes the same
// three bytes open the sequence parameter set (type 7).
std::string H264String(std::string_view extradata) {
  if (extradata.size() >= 4 && At(extradata, 0) == 1) {
    return AvcString(At(extradata, 1), At(extradata, 2), At(extradata, 3));
  }
  for (size_t i = 0; i + 7 <= extradata.size(); ++i) {
    if (extradata.substr(i, 3) != std::string_view("\0\0\1", 3) || (At(extradata, i + 3) & 0x1f) != 7)
      continue;
    return AvcString(At(extradata, i + 4), At(extradata, i + 5), At(extradata, i + 6));
  }
  return "";
}

constexpr size_t kHevcProfile = 12;  // bytes

// Without the 3 that stands behind two zeros, so that nothing in a unit looks like a start code.
std::string Unescaped(std::string_view unit, size_t length) {
  std::string bytes;
  for (size_t i = 0; i < unit.size() && bytes.size() < length; ++i) {
    const bool escape = i >= 2 && At(unit, i) == 3 && At(unit, i - 1) == 0 && At(unit, i - 2) == 0;
    if (!escape) bytes += unit[i];
  }
  return bytes;
}

// What ISO/IEC 14496-15, 8.3.3.1 has behind the version. In a stream with start codes the same bytes come
// fourth in the sequence parameter set (type 33).
std::string HevcProfile(std::string_view extradata) {
  if (!extradata.empty() && At(extradata, 0) == 1) return std::string(extradata.substr(1, kHevcProfile));
  for (size_t i = 0; i + 6 <= extradata.size(); ++i) {
    if (extradata.substr(i, 3) == std::string_view("\0\0\1", 3) && (At(extradata, i + 3) >> 1 & 0x3f) == 33)
      return Unescaped(extradata.substr(i + 6), kHevcProfile);
  }
  return "";
}

// ISO/IEC 14496-15, annex E: profile space, tier and profile in byte 0, compatibility in 1 to 4 (written with
// its bits reversed), constraints in 5 to 10 (trailing zero bytes left out), level in 11.
std::string HevcString(std::string_view extradata) {
  const std::string bytes = HevcProfile(extradata);
  if (bytes.size() < kHevcProfile) return "";
  uint32_t compatibility = 0;
  for (int bit = 0; bit < 32; ++bit) {
    const bool set = (At(bytes, 1 + static_cast<size_t>(bit) / 8) >> (7 - bit % 8) & 1) != 0;
    if (set) compatibility |= uint32_t{1} << bit;
  }
  const uint8_t profile = At(bytes, 0);
  constexpr std::array<const char*, 4> kSpaces = {"", "A", "B", "C"};
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "hvc1.%s%d.%x.%c%d", kSpaces[profile >> 6], profile & 0x1f,
                compatibility, (profile & 0x20) != 0 ? 'H' : 'L', At(bytes, 11));
  std::string result = text.data();
  size_t last = 10;
  while (last >= 5 && At(bytes, last) == 0) --last;
  for (size_t i = 5; i <= last; ++i) {
    std::snprintf(text.data(), text.size(), ".%x", At(bytes, i));
    result += text.data();
  }
  return result;
}

}  // namespace

std::string CodecString(AVCodecID codec, std::string_view extradata) {
  if (codec == AV_CODEC_ID_H264) return H264String(extradata);
  return codec == AV_CODEC_ID_HEVC ? HevcString(extradata) : "";
}

}  // namespace kinora::helper
