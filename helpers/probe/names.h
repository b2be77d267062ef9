// The names that the report uses for containers, codecs and pixel formats.
#pragma once

#include <string>
#include <string_view>

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavcodec/codec_par.h>
#include <libavutil/pixfmt.h>
}

namespace kinora::helper {

// `demuxer` is libavformat's name of the format (a list, "mov,mp4,..."); `brand` the major brand of an MP4
// file, `doc_type` the document type of a Matroska file, both empty when unknown. Empty for an unknown
// demuxer.
std::string ContainerName(const std::string& demuxer, const std::string& brand, const std::string& doc_type);

// The document type ("matroska", "webm") in the EBML header (RFC 8794, 11.2) that `head` starts with;
// libavformat keeps it to itself. Empty when there is none.
std::string MatroskaDocType(std::string_view head);

// libavcodec's name. A video whose samples are not 8-bit 4:2:0 bears the chroma format, then the depth:
// "h264_422", "hevc_10bit", "prores_422_10bit". Empty for an unknown codec.
std::string CodecName(AVCodecID codec, AVPixelFormat pixel_format);

// The same with a suffix for H.264 whose samples are 8-bit 4:2:0 and that few players show well all the same:
// "_rare" for a profile or a level beyond those that players agree on (baseline, main and high up to level
// 5.2), "_interlaced" for two fields in a picture, which browsers show as combs. `profile` and `level` are
// libavcodec's numbers; negative: not known.
std::string VideoCodecName(AVCodecID codec, AVPixelFormat pixel_format, int profile, int level,
                           AVFieldOrder order);

}  // namespace kinora::helper
