#include "helpers/remux/adts.h"

#include <array>
#include <cstdint>

namespace kinora::helper {
namespace {

constexpr size_t kShort = 7;  // bytes
constexpr size_t kWithChecksum = 9;
constexpr std::array<int, 13> kRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                        22050, 16000, 12000, 11025, 8000,  7350};

}  // namespace

std::optional<AdtsHeader> ReadAdts(std::string_view bytes) {
  if (bytes.size() < kShort) return std::nullopt;
  const auto at = [bytes](size_t place) { return unsigned{static_cast<uint8_t>(bytes[place])}; };
  if (at(0) != 0xff || (at(1) & 0xf6) != 0xf0) return std::nullopt;
  AdtsHeader header;
  header.profile = static_cast<int>(at(2) >> 6);
  const size_t rate = at(2) >> 2 & 0xf;
  if (rate < kRates.size()) header.rate = kRates[rate];
  header.size = (at(1) & 1) != 0 ? kShort : kWithChecksum;
  header.whole = size_t{(at(3) & 3) << 11 | at(4) << 3 | at(5) >> 5};
  header.several = (at(6) & 3) != 0;
  return header;
}

}  // namespace kinora::helper
