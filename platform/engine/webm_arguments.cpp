#include "platform/engine/webm_arguments.h"

#include "platform/engine/ffmpeg_filters.h"

namespace kinora::engine {
namespace {

constexpr int64_t kKeyFrames = 2;  // seconds from one to the next

// Samples that the encoder puts in front; WebM counts from the first packet, not from the first sample heard.
constexpr int64_t kOpusDelay = 312;

// For sound that sets in late: the picture waits for it before anything can be written.
constexpr char kLongestQueue[] = "65536";  // packets

std::string Pictures(const StreamPlan& plan, int64_t seconds) {
  return Deinterlacing(plan.source.video, plan.picture) + "fps=" + Fraction(plan.picture.frame_rate) +
         ":start_time=" + Decimal(seconds) + "," + Scaling(plan.source.video, plan.picture) +
         ",setsar=1,format=yuv420p";
}

// One thread: several of them wait for one another in loops, which on busy cores takes many times the time.
Arguments Picture(const StreamPlan& plan, int64_t seconds) {
  if (plan.video == VideoWay::kNone) return {"-vn"};
  const Arguments map = {"-map", "0:" + std::to_string(plan.source.video.track)};
  Arguments arguments = map;
  if (plan.video == VideoWay::kCopy) {
    Append(arguments, {"-c:v", "copy"});
    return arguments;
  }
  const int64_t group = Ceil(plan.picture.frame_rate * kKeyFrames);
  Append(arguments, {"-vf", Pictures(plan, seconds), "-c:v", "libvpx", "-threads:v", "1", "-deadline",
                     "realtime", "-cpu-used", "16", "-lag-in-frames", "0", "-auto-alt-ref", "0", "-g",
                     std::to_string(group), "-b:v", std::to_string(plan.picture.bitrate)});
  return arguments;
}

Arguments Sound(const StreamPlan& plan, int64_t seconds) {
  if (plan.audio.empty()) return {"-an"};
  const AudioPlan& audio = plan.audio.front();
  const bool follows_key = plan.video == VideoWay::kCopy;
  Arguments arguments = {"-map", "0:" + std::to_string(audio.track)};
  if (audio.way == AudioWay::kCopy) {
    Append(arguments, {"-c:a", "copy"});
    if (!follows_key && seconds > 0)
      Append(arguments, {"-bsf:a", "noise=drop=lt(pts*tb\\," + std::to_string(seconds) + ")"});
    return arguments;
  }
  const auto start = follows_key ? std::nullopt : std::optional<int64_t>(seconds * audio.frequency);
  Append(arguments, {"-af", Samples(audio, start) + ",asetpts=PTS+" + std::to_string(kOpusDelay), "-c:a",
                     "libopus", "-b:a", std::to_string(audio.bitrate)});
  return arguments;
}

}  // namespace

Arguments WebMArguments(const StreamPlan& plan, int64_t seconds) {
  const MediaTime start(seconds);
  Arguments arguments = {"-v", "error", "-nostdin"};
  Append(arguments,
         Source(plan.source, plan.video == VideoWay::kCopy ? start : start - PreRoll(plan.source.container)));
  Append(arguments, Picture(plan, seconds));
  Append(arguments, Sound(plan, seconds));
  Append(arguments, {"-max_muxing_queue_size",
                     kLongestQueue,
                     "-map_metadata",
                     "-1",
                     "-map_chapters",
                     "-1",
                     "-sn",
                     "-dn",
                     "-avoid_negative_ts",
                     "disabled",
                     "-f",
                     "webm",
                     "-live",
                     "1",
                     "-cluster_time_limit",
                     "1000",
                     "-cluster_size_limit",
                     "2M",
                     "-flush_packets",
                     "1",
                     "pipe:1"});
  return arguments;
}

}  // namespace kinora::engine
