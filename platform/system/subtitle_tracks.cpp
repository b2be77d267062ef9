#include <algorithm>
#include <array>
#include <string_view>

#include "contract/system/subtitle_files.h"

namespace libkn::subtitle {
namespace {

// By the names of VideoMetaData. The others (avi, flv, asf, ...) hold neither text that ffmpeg could take out
// nor pictures that players know.
constexpr auto kContainers =
    std::to_array<std::string_view>({"mkv", "mov", "mp4", "mpeg", "mpegts", "nut", "ogg", "webm"});

// FFmpeg's names of the codecs that it can decode as text. Left out are pictures (dvd_subtitle,
// hdmv_pgs_subtitle, dvb_subtitle, xsub), text in pictures (dvb_teletext), and what rides in the picture
// itself (eia_608).
constexpr auto kTextCodecs = std::to_array<std::string_view>(
    {"ass", "jacosub", "microdvd", "mov_text", "mpl2", "pjs", "realtext", "sami", "srt", "ssa", "stl",
     "subrip", "subviewer", "subviewer1", "text", "vplayer", "webvtt"});

}  // namespace

bool IsAllowEmbaddedSubtitleContiner(const std::string& container) {
  return std::ranges::find(kContainers, container) != kContainers.end();
}

bool IsTextBaseSubtitleCodec(const std::string& codec) {
  return std::ranges::find(kTextCodecs, codec) != kTextCodecs.end();
}

}  // namespace libkn::subtitle
