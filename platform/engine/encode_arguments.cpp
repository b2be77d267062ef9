#include "platform/engine/encode_arguments.h"

#include <algorithm>
#include <stdexcept>

#include "platform/engine/ffmpeg_filters.h"
#include "platform/engine/ffmpeg_input.h"

namespace kinora::engine {
namespace {

constexpr char kFragments[] = "/proc/self/fd/4/%d.ts";
constexpr char kPlaylist[] = "/proc/self/fd/4/made.m3u8";
constexpr char kRenderDevice[] = "/dev/dri/renderD128";

const MediaTime kSoundPreRoll{1, 5};   // for the encoder's filters to settle
const MediaTime kSoundlessSearch{15};  // behind a fragment for sound that may be there

// A cut is made at every key frame behind this, and only the forced ones exist.
constexpr char kShortestFragment[] = "0.1";  // seconds

Arguments Start() { return {"-v", "error", "-nostdin"}; }

// Media time 0 is presentation time 90000.
Arguments Times() {
  return {"-map_metadata", "-1", "-map_chapters",      "-1",       "-muxdelay",         "0",
          "-muxpreload",   "0",  "-avoid_negative_ts", "disabled", "-output_ts_offset", "1"};
}

// ---- the picture -----------------------------------------------------------------------------------------

// What is stated of a picture of Smooth Streaming, whatever the source's frames say: its parameter sets are
// known before any of them has been decoded. Range, parity and colors are among them.
std::string Labels(const StreamPlan& plan) {
  const ColorLabels labels = LabelsOf(plan.source.video);
  return ",setparams=range=tv:field_mode=prog:colorspace=" + labels.matrix +
         ":color_primaries=" + labels.primaries + ":color_trc=" + labels.transfer;
}

// Of a picture that is going to be labelled only RGB is converted, into what the label says, and the full
// range.
std::string Scaler(const StreamPlan& plan) {
  const std::string scaler = Scaling(plan.source.video, plan.picture);
  if (plan.delivery != Delivery::kSmooth || !plan.source.video.hdr.empty()) return scaler;
  const std::string matrix = LabelsOf(plan.source.video).matrix;
  return scaler + ":in_color_matrix=" + matrix + ":out_color_matrix=" + matrix + ":out_range=tv";
}

std::string Pictures(const StreamPlan& plan, const EncoderRun& run) {
  const SegmentGrid& grid = plan.grid;
  const auto boundary = [&](int fragment) { return grid.boundaries.at(static_cast<size_t>(fragment)); };
  // The fragment behind the last one is begun, so that the last one is known to be whole.
  const int64_t frames = boundary(std::min(run.last + 2, grid.Count())) - boundary(run.first);
  // The last picture stays when the film's sound is longer: every fragment of the plan has a picture.
  return Deinterlacing(plan.source.video, plan.picture) +
         "tpad=stop=-1:stop_mode=clone,fps=" + Fraction(plan.picture.frame_rate) +
         ":start_time=" + Decimal(grid.Start(run.first)) + ",trim=end_frame=" + std::to_string(frames) + "," +
         Scaler(plan) + ",setsar=1,format=" + (run.hardware ? "nv12,hwupload" : "yuv420p") +
         (plan.delivery == Delivery::kSmooth ? Labels(plan) : "");
}

std::string KeyFrames(const SegmentGrid& grid, const EncoderRun& run) {
  std::string times;
  for (int n = run.first; n <= std::min(run.last + 1, grid.Count() - 1); ++n) {
    times += (times.empty() ? "" : ",") + Decimal(grid.Start(n));
  }
  return times;
}

Arguments Software(const StreamPlan& plan, const std::string& bitrate, const std::string& buffer) {
  Arguments arguments = {"-c:v",          "libx264",
                         "-preset",       plan.profile.preset,
                         "-crf",          "21",
                         "-maxrate",      bitrate,
                         "-bufsize",      buffer,
                         "-profile:v",    plan.profile.h264_profile,
                         "-level:v",      plan.profile.h264_level,
                         "-sc_threshold", "0",
                         "-forced-idr",   "1"};
  // What else would find its way from the film, or from the run, into the parameter sets.
  if (plan.delivery == Delivery::kSmooth)
    Append(arguments, {"-chroma_sample_location", "left", "-x264-params", "stitchable=1"});
  return arguments;
}

// The level is its number times ten there.
Arguments Hardware(const media::TransProfile& profile, const std::string& bitrate,
                   const std::string& buffer) {
  const std::string name = profile.h264_profile == "baseline" ? "constrained_baseline" : profile.h264_profile;
  std::string level = profile.h264_level;
  std::erase(level, '.');
  if (level.size() == 1) level += '0';
  return {"-c:v",     "h264_vaapi", "-b:v",       bitrate, "-maxrate", bitrate,
          "-bufsize", buffer,       "-profile:v", name,    "-level:v", level};
}

Arguments PictureEncoder(const StreamPlan& plan, bool hardware) {
  const std::string bitrate = std::to_string(plan.picture.bitrate);
  const std::string buffer = std::to_string(plan.picture.bitrate * 2);
  Arguments arguments = hardware ? Hardware(plan.profile, bitrate, buffer) : Software(plan, bitrate, buffer);
  Append(arguments, {"-bf", "0", "-g", "100000"});
  return arguments;
}

Arguments Video(const StreamPlan& plan, const EncoderRun& run) {
  Arguments arguments = {"-map", "0:" + std::to_string(plan.source.video.track), "-vf", Pictures(plan, run)};
  Append(arguments, PictureEncoder(plan, run.hardware));
  Append(arguments, {"-force_key_frames", KeyFrames(plan.grid, run)});
  return arguments;
}

// ---- the sound -------------------------------------------------------------------------------------------

struct SoundEncoder {
  Arguments arguments;
  int64_t frame;  // samples in a packet
  int64_t delay;  // samples by which the first packet lies before the first sample
};

constexpr int64_t kLowestFullRate = 32'000;  // Hz; below it an MP3 packet holds half as many samples

SoundEncoder EncoderOf(const AudioPlan& audio) {
  if (audio.codec == "aac") return {{"-c:a", "aac"}, 1024, 1024};
  // Without the reservoir, by which a packet would need those before it.
  if (audio.codec == "mp3") {
    return {{"-c:a", "libmp3lame", "-reservoir", "0"}, audio.frequency < kLowestFullRate ? 576 : 1152, 1105};
  }
  throw std::invalid_argument("no encoder for [" + audio.codec + "]");
}

// Where a run of sound starts, and which of its packets count.
struct SoundRun {
  int64_t start = 0;    // in samples, on the absolute grid of packets
  int64_t skipped = 0;  // packets
};

// The first packet, counted from the film's beginning, that does not lie before `time`.
int64_t PacketAt(const MediaTime& time, const SoundEncoder& encoder, int frequency) {
  return time.numerator() == 0 ? 0 : Ceil((time * int64_t{frequency} + encoder.delay) / encoder.frame);
}

SoundRun RunFrom(const MediaTime& start, const SoundEncoder& encoder, int frequency) {
  if (start.numerator() == 0) return {};
  const int64_t packet =
      std::max<int64_t>(0, Floor((start - kSoundPreRoll) * int64_t{frequency} / encoder.frame));
  return {packet * encoder.frame, PacketAt(start, encoder, frequency) - packet};
}

Arguments Sound(const AudioPlan& audio, const SoundEncoder& encoder, const std::string& filters,
                const std::string& dropped) {
  Arguments arguments = {"-map", "0:" + std::to_string(audio.track), "-af", filters};
  Append(arguments, encoder.arguments);
  Append(arguments, {"-ac", std::to_string(audio.channels), "-b:a", std::to_string(audio.bitrate)});
  if (!dropped.empty()) Append(arguments, {"-bsf:a", "noise=drop=" + dropped});
  return arguments;
}

std::string Before(int64_t packet) { return "lt(n\\," + std::to_string(packet) + ")"; }
std::string From(int64_t packet) { return "gte(n\\," + std::to_string(packet) + ")"; }

// The sound that goes with the picture. Where it ends early there is none any more.
Arguments MuxedSound(const StreamPlan& plan, const EncoderRun& run) {
  if (!plan.SoundIsMuxed()) return {"-an"};
  const AudioPlan& audio = plan.audio.front();
  const SoundEncoder encoder = EncoderOf(audio);
  const SoundRun sound = RunFrom(plan.grid.Start(run.first), encoder, audio.frequency);
  // Sound may set in late; the picture waits for it before anything can be written.
  Arguments arguments = {"-max_muxing_queue_size", "65536"};
  Append(arguments,
         Sound(audio, encoder, Samples(audio, sound.start), sound.skipped == 0 ? "" : Before(sound.skipped)));
  return arguments;
}

}  // namespace

std::vector<std::string> JobArguments(const StreamPlan& plan, const EncoderRun& run) {
  Arguments arguments = Start();
  if (run.hardware) Append(arguments, {"-vaapi_device", kRenderDevice});
  Append(arguments, Source(plan.source, plan.grid.Start(run.first) - PreRoll(plan.source.container)));
  Append(arguments, Video(plan, run));
  Append(arguments, MuxedSound(plan, run));
  Append(arguments, Times());
  Append(arguments, {"-sn", "-dn", "-f", "hls", "-hls_time", kShortestFragment, "-hls_list_size", "2",
                     "-start_number", std::to_string(run.first), "-hls_flags", "temp_file",
                     "-hls_segment_type", "mpegts", "-hls_segment_filename", kFragments, kPlaylist});
  return arguments;
}

std::vector<std::string> HeaderArguments(const StreamPlan& plan) {
  Arguments arguments = Start();
  Append(arguments, {"-f", "lavfi", "-i",
                     "color=size=" + std::to_string(plan.picture.width) + "x" +
                         std::to_string(plan.picture.height) + ":rate=" + Fraction(plan.picture.frame_rate),
                     "-vf", "setsar=1,format=yuv420p" + Labels(plan)});
  Append(arguments, PictureEncoder(plan, false));
  Append(arguments, {"-frames:v", "1", "-f", "h264", "pipe:1"});
  return arguments;
}

std::vector<std::string> AudioArguments(const StreamPlan& plan, const AudioPlan& audio, int number) {
  const SoundEncoder encoder = EncoderOf(audio);
  const MediaTime start = plan.grid.Start(number);
  const MediaTime end = plan.grid.End(number);
  const SoundRun run = RunFrom(start, encoder, audio.frequency);
  const int64_t end_packet = PacketAt(end, encoder, audio.frequency) - run.start / encoder.frame;
  const std::string rate = std::to_string(audio.frequency);
  // Silence is mixed in: it has sound where the track has none, and it ends when enough has been encoded.
  const std::string filters =
      "[in]" + Samples(audio, run.start) + "[sound];anullsrc=r=" + rate + ":cl=" + LayoutOf(audio.channels) +
      ",atrim=end_sample=" + std::to_string((end_packet + 1) * encoder.frame) + ",asetpts=PTS+" +
      std::to_string(run.start) + "[silence];[silence][sound]amix=inputs=2:duration=first:normalize=0[out]";
  const std::string dropped = (run.skipped == 0 ? "" : Before(run.skipped) + "+") + From(end_packet);
  Arguments arguments = Start();
  // A track without sound here is not searched for to the film's end.
  Append(arguments, {"-t", Decimal(end - start + kSoundlessSearch)});
  Append(arguments, Source(plan.source, start - PreRoll(plan.source.container)));
  Append(arguments, Sound(audio, encoder, filters, dropped));
  Append(arguments, Times());
  Append(arguments, {"-vn", "-sn", "-dn", "-f", "mpegts", "pipe:1"});
  return arguments;
}

}  // namespace kinora::engine
