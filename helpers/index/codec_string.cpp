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

// ISO/IEC 14496-15, 8.3.3.1 and annex E: profile space, tier and profile in byte 1, compatibility in 2 to 5
// (written with its bits reversed), constraints in 6 to 11 (trailing zero bytes left out), level in 12.
std::string HevcString(std::string_view extradata) {
  if (extradata.size() < 13 || At(extradata, 0) != 1) return "";
  uint32_t compatibility = 0;
  for (int bit = 0; bit < 32; ++bit) {
    const bool set = (At(extradata, 2 + static_cast<size_t>(bit) / 8) >> (7 - bit % 8) & 1) != 0;
    if (set) compatibility |= uint32_t{1} << bit;
  }
  const uint8_t profile = At(extradata, 1);
  constexpr std::array<const char*, 4> kSpaces = {"", "A", "B", "C"};
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "hvc1.%s%d.%x.%c%d", kSpaces[profile >> 6], profile & 0x1f,
                compatibility, (profile & 0x20) != 0 ? 'H' : 'L', At(extradata, 12));
  std::string result = text.data();
  size_t last = 11;
  while (last >= 6 && At(extradata, last) == 0) --last;
  for (size_t i = 6; i <= last; ++i) {
    std::snprintf(text.data(), text.size(), ".%x", At(extradata, i));
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
