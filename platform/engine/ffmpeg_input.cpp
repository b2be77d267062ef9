#include "platform/engine/ffmpeg_input.h"

#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace kinora::engine {
namespace {

constexpr char kSource[] = "file:/proc/self/fd/3";

const MediaTime kPreRoll{1, 2};
const MediaTime kPreRollWithoutIndex{5};

// The demuxers of each container, by VideoMetaData's name.
constexpr std::pair<std::string_view, const char*> kDemuxers[] = {
    {"mp4", "mov"},
    {"mov", "mov"},
    {"mkv", "matroska"},
    {"webm", "matroska"},
    {"mpegts", "mpegts"},
    {"mpeg", "mpeg,mpegvideo"},
    {"mxf", "mxf,mxf_opatom"},
    {"avi", "avi"},
    {"flv", "flv"},
    {"asf", "asf"},
    {"ogg", "ogg"},
    {"rm", "rm"},
    {"wtv", "wtv"},
    {"dv", "dv"},
    {"nut", "nut"},
};

const char* DemuxersOf(const std::string& container) {
  for (const auto& [name, demuxers] : kDemuxers) {
    if (name == container) return demuxers;
  }
  throw std::invalid_argument("no demuxer for [" + container + "]");
}

}  // namespace

std::string Decimal(const MediaTime& seconds) {
  const int64_t micro = Floor(seconds * int64_t{1'000'000} + MediaTime(1, 2));
  char text[32];
  std::snprintf(text, sizeof text, "%lld.%06lld", static_cast<long long>(micro / 1'000'000),
                static_cast<long long>(micro % 1'000'000));
  return text;
}

std::string Fraction(const MediaTime& value) {
  return std::to_string(value.numerator()) + "/" + std::to_string(value.denominator());
}

MediaTime PreRoll(const std::string& container) {
  return container == "mpegts" || container == "mpeg" ? kPreRollWithoutIndex : kPreRoll;
}

Arguments Source(const SourceTraits& source, const MediaTime& from) {
  Arguments arguments;
  if (from > 0) Append(arguments, {"-noaccurate_seek", "-ss", Decimal(from)});
  const std::string demuxers = DemuxersOf(source.container);
  if (demuxers.find(',') == std::string::npos) Append(arguments, {"-f", demuxers});
  Append(arguments, {"-format_whitelist", demuxers, "-protocol_whitelist", "file", "-copyts",
                     "-start_at_zero", "-i", kSource});
  return arguments;
}

}  // namespace kinora::engine
