#include "helpers/probe/names.h"

#include <bit>
#include <cstdint>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

namespace kinora::helper {
namespace {

struct Row {
  std::string_view demuxer;
  std::string_view name;
};

// One demuxer stands for two containers of ours in the first two rows, see below.
constexpr Row kContainers[] = {
    {"mov,mp4,m4a,3gp,3g2,mj2", "mp4"},
    {"matroska,webm", "mkv"},
    {"mpegts", "mpegts"},
    {"mpeg", "mpeg"},
    {"mpegvideo", "mpeg"},
    {"avi", "avi"},
    {"flv", "flv"},
    {"asf", "asf"},
    {"ogg", "ogg"},
    {"rm", "rm"},
    {"wtv", "wtv"},
    {"mxf", "mxf"},
    {"mxf_opatom", "mxf"},
    {"dv", "dv"},
    {"nut", "nut"},
};

std::string_view ChromaSuffix(const AVPixFmtDescriptor& format) {
  if (format.nb_components < 3) return "_400";
  if ((format.flags & AV_PIX_FMT_FLAG_RGB) != 0) return "_444";
  const int width = format.log2_chroma_w;
  const int height = format.log2_chroma_h;
  if (width == 1 && height == 1) return "";
  if (width == 1 && height == 0) return "_422";
  if (width == 0 && height == 1) return "_440";
  if (width == 2 && height == 0) return "_411";
  if (width == 2 && height == 2) return "_410";
  return "_444";
}

constexpr uint64_t kEbmlHeader = 0x1A45DFA3;
constexpr uint64_t kDocType = 0x4282;

// Takes a variable-length number from the front of `bytes`: the count of leading zero bits tells its length.
// An element's id keeps the length marker, a size does not. Empties `bytes` and gives 0 when it is cut off.
uint64_t TakeNumber(std::string_view& bytes, bool keep_marker) {
  const auto first = bytes.empty() ? uint8_t{0} : static_cast<uint8_t>(bytes[0]);
  const auto length = static_cast<size_t>(std::countl_zero(first)) + 1;
  if (first == 0 || bytes.size() < length) {
    bytes = {};
    return 0;
  }
  uint64_t value = keep_marker ? first : first & (0xFFU >> length);
  for (size_t i = 1; i < length; ++i) value = value << 8 | static_cast<uint8_t>(bytes[i]);
  bytes.remove_prefix(length);
  return value;
}

}  // namespace

std::string MatroskaDocType(std::string_view head) {
  if (TakeNumber(head, true) != kEbmlHeader) return "";
  head = head.substr(0, TakeNumber(head, false));
  while (!head.empty()) {
    const uint64_t id = TakeNumber(head, true);
    const uint64_t size = TakeNumber(head, false);
    const std::string_view content = head.substr(0, size);
    if (id == kDocType) return std::string(content.substr(0, content.find('\0')));
    head.remove_prefix(content.size());
  }
  return "";
}

std::string ContainerName(const std::string& demuxer, const std::string& brand, const std::string& doc_type) {
  for (const Row& row : kContainers) {
    if (row.demuxer != demuxer) continue;
    if (row.name == "mp4" && brand == "qt  ") return "mov";
    if (row.name == "mkv" && doc_type == "webm") return "webm";
    return std::string(row.name);
  }
  return "";
}

std::string CodecName(AVCodecID codec, AVPixelFormat pixel_format) {
  if (codec == AV_CODEC_ID_NONE) return "";
  std::string name = avcodec_get_name(codec);
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(pixel_format);
  if (format == nullptr || (format->flags & AV_PIX_FMT_FLAG_PAL) != 0) return name;
  name += ChromaSuffix(*format);
  const int depth = format->comp[0].depth;
  if (depth > 8) name += "_" + std::to_string(depth) + "bit";
  return name;
}

std::string VideoCodecName(AVCodecID codec, AVPixelFormat pixel_format, int profile, int level,
                           AVFieldOrder order) {
  constexpr int kHighestLevel = 52;
  const std::string name = CodecName(codec, pixel_format);
  if (name != "h264") return name;  // another codec, or its samples have said so already
  const int kind = profile & ~(FF_PROFILE_H264_CONSTRAINED | FF_PROFILE_H264_INTRA);
  const bool common = profile < 0 || kind == FF_PROFILE_H264_BASELINE || kind == FF_PROFILE_H264_MAIN ||
                      kind == FF_PROFILE_H264_HIGH;
  if (!common || level > kHighestLevel) return name + "_rare";
  const bool interlaced = order != AV_FIELD_UNKNOWN && order != AV_FIELD_PROGRESSIVE;
  return interlaced ? name + "_interlaced" : name;
}

}  // namespace kinora::helper
