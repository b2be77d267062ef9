#include "helpers/index/key_picture.h"

#include <cstdint>
#include <optional>

namespace kinora::helper {
namespace {

uint8_t At(std::string_view bytes, size_t place) { return static_cast<uint8_t>(bytes[place]); }

// What the first byte of a unit says; nothing where the unit is no part of a picture (parameter sets,
// delimiters, messages).
std::optional<KeyPicture> OfH264(uint8_t header) {
  const int type = header & 0x1f;
  if (type == 5) return KeyPicture::kClean;
  if (type >= 1 && type <= 4) return KeyPicture::kOpen;  // a key by its container's word alone
  return std::nullopt;
}

std::optional<KeyPicture> OfHevc(uint8_t header) {
  const int type = header >> 1 & 0x3f;
  if (type == 19 || type == 20) return KeyPicture::kClean;  // IDR_W_RADL, IDR_N_LP
  if (type >= 16 && type <= 23) return KeyPicture::kOpen;   // BLA, CRA, reserved
  if (type < 16) return KeyPicture::kNone;
  return std::nullopt;
}

std::optional<KeyPicture> OfUnit(AVCodecID codec, uint8_t header) {
  return codec == AV_CODEC_ID_H264 ? OfH264(header) : OfHevc(header);
}

// How many bytes of length stand before each unit; 0: start codes.
size_t LengthSize(AVCodecID codec, std::string_view extradata) {
  const size_t place = codec == AV_CODEC_ID_H264 ? 4 : 21;
  if (extradata.size() <= place || At(extradata, 0) != 1) return 0;
  return size_t{1} + (At(extradata, place) & 3);
}

KeyPicture BehindStartCodes(AVCodecID codec, std::string_view packet) {
  for (size_t i = 0; i + 4 <= packet.size(); ++i) {
    if (packet.substr(i, 3) != std::string_view("\0\0\1", 3)) continue;
    if (const auto kind = OfUnit(codec, At(packet, i + 3))) return *kind;
    i += 3;
  }
  return KeyPicture::kNone;
}

KeyPicture BehindLengths(AVCodecID codec, std::string_view packet, size_t length_size) {
  while (packet.size() > length_size) {
    uint64_t length = 0;
    for (size_t i = 0; i < length_size; ++i) length = length << 8 | At(packet, i);
    packet.remove_prefix(length_size);
    if (length == 0) continue;
    if (const auto kind = OfUnit(codec, At(packet, 0))) return *kind;
    if (length > packet.size()) break;
    packet.remove_prefix(length);
  }
  return KeyPicture::kNone;
}

}  // namespace

KeyPicture KindOfKey(AVCodecID codec, std::string_view extradata, std::string_view packet) {
  if (codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_HEVC) return KeyPicture::kNone;
  const size_t length_size = LengthSize(codec, extradata);
  return length_size == 0 ? BehindStartCodes(codec, packet) : BehindLengths(codec, packet, length_size);
}

}  // namespace kinora::helper
