#include "platform/engine/source_traits.h"

#include <sys/stat.h>

#include <climits>

#include "platform/base/file_time.h"
#include "platform/engine/report.h"

namespace kinora::engine {
namespace {

// Milliseconds; a header may claim anything, and others go on counting with it.
constexpr int64_t kLongestTime = int64_t{1} << 50;

int Int(const Json::Value& track, const char* key) { return static_cast<int>(NumberOf(track, key, INT_MAX)); }

MediaTime FrameRate(const Json::Value& track) {
  const int denominator = Int(track, "rate_den");
  return denominator == 0 ? MediaTime(0) : MediaTime(Int(track, "rate_num"), denominator);
}

VideoTraits ReadVideo(const Json::Value& track) {
  VideoTraits video;
  video.track = Int(track, "id");
  video.codec = TextOf(track, "codec");
  video.width = Int(track, "width");
  video.height = Int(track, "height");
  video.display_x = Int(track, "display_x");
  video.display_y = Int(track, "display_y");
  video.rotate = Int(track, "rotate");
  video.frame_rate = FrameRate(track);
  video.field_order = TextOf(track, "field_order");
  video.hdr = TextOf(track, "hdr");
  video.color = {TextOf(track, "color_matrix"), TextOf(track, "color_primaries"),
                 TextOf(track, "color_transfer")};
  video.pixel_format = TextOf(track, "pixel_format");
  video.profile = TextOf(track, "profile");
  video.decodable = FlagOf(track, "decodable");
  return video;
}

AudioTraits ReadAudio(const Json::Value& track) {
  AudioTraits audio;
  audio.track = Int(track, "id");
  audio.codec = TextOf(track, "codec");
  audio.channels = Int(track, "channels");
  audio.frequency = Int(track, "frequency");
  audio.bitrate = NumberOf(track, "bitrate", INT_MAX);
  audio.language = TextOf(track, "language");
  audio.title = TextOf(track, "title");
  audio.is_default = FlagOf(track, "default");
  audio.profile = TextOf(track, "profile");
  audio.decodable = FlagOf(track, "decodable");
  return audio;
}

// The only time that may be less than 0.
int64_t StartTime(const Json::Value& report) {
  const Json::Value& start = report["start_ms"];
  if (!start.isInt64() || start.asInt64() < -kLongestTime || start.asInt64() > kLongestTime) return 0;
  return start.asInt64();
}

}  // namespace

std::optional<SourceIdentity> IdentifySource(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return SourceIdentity{path, status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size),
                        base::NanosecondsOf(status.st_mtim)};
}

SourceTraits ReadTraits(const Json::Value& report, const SourceIdentity& identity) {
  SourceTraits source;
  source.identity = identity;
  source.container = TextOf(report, "container");
  source.start_ms = StartTime(report);
  source.duration_ms = NumberOf(report, "duration_ms", kLongestTime);
  source.bitrate = NumberOf(report, "bitrate", INT_MAX);
  if (!report["video"].empty()) source.video = ReadVideo(FirstTrack(report, "video"));
  for (const Json::Value& track : report["audio"]) source.audio.push_back(ReadAudio(track));
  return source;
}

}  // namespace kinora::engine
