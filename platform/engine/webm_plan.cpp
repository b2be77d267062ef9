#include "platform/engine/webm_plan.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "platform/engine/picture_plan.h"
#include "platform/engine/sound_plan.h"

namespace kinora::engine {
namespace {

constexpr int kStereo = 2;
constexpr int kSurround = 6;
constexpr int kFrequency = 48'000;
constexpr int64_t kMostOpusBitrate = 256'000;  // for each channel

// A copy costs this machine nothing and has the film's own quality; who asked for a profile of few bits
// because of a slow line is still to be served.
constexpr int64_t kCopiedBitrates = 2;

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> list) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

// The containers whose packets are found from any time on and bear times that hold.
bool CanCopyFrom(const SourceTraits& source) {
  return IsOneOf(source.container, {"mkv", "webm", "mp4", "mov"});
}

// Deep samples and other colours are in WebM, but not in every player of it. Only an encoder turns pictures.
bool IsCopied(const SourceTraits& source, const media::TransProfile& profile) {
  const VideoTraits& video = source.video;
  return CanCopyFrom(source) && IsOneOf(video.codec, {"vp8", "vp9", "av1"}) && video.rotate == 0 &&
         video.hdr.empty() && video.pixel_format == "yuv420p" &&
         source.bitrate <= profile.video_bitrate * kCopiedBitrates;
}

bool IsCopied(const SourceTraits& source, const AudioTraits& audio, const media::TransProfile& profile) {
  return CanCopyFrom(source) && IsOneOf(audio.codec, {"opus", "vorbis"}) && audio.frequency > 0 &&
         audio.channels > 0 && audio.channels <= std::max(profile.audio_channels, kStereo);
}

AudioPlan PlanTrack(const SourceTraits& source, const AudioTraits& audio,
                    const media::TransProfile& profile) {
  AudioPlan plan;
  plan.track = audio.track;
  plan.is_default = true;
  if (IsCopied(source, audio, profile)) {
    plan.way = AudioWay::kCopy;
    plan.codec = audio.codec;
    plan.channels = audio.channels;
    plan.frequency = audio.frequency;
    plan.bitrate = audio.bitrate;
    return plan;
  }
  const bool surround = audio.channels >= kSurround && profile.audio_channels >= kSurround;
  plan.codec = "opus";
  plan.channels = surround ? kSurround : kStereo;
  plan.frequency = kFrequency;
  plan.bitrate = std::min(profile.audio_bitrate * plan.channels / kStereo, kMostOpusBitrate * plan.channels);
  return plan;
}

// None where the film has no sound.
std::variant<std::vector<AudioPlan>, Refusal> PlanSound(const SourceTraits& source, const std::string& wanted,
                                                        const media::TransProfile& profile) {
  if (wanted.empty() && source.audio.empty()) return std::vector<AudioPlan>();
  const auto found = std::find_if(source.audio.begin(), source.audio.end(), [&](const AudioTraits& audio) {
    return wanted.empty() || std::to_string(audio.track) == wanted;
  });
  if (found == source.audio.end()) return Refusal{kAudioNotSupported, "no audio track [" + wanted + "]"};
  if (!IsCopied(source, *found, profile) && !CanBeEncoded(*found))
    return Refusal{kAudioNotSupported, "no decoder for the sound [" + found->codec + "]"};
  return std::vector<AudioPlan>{PlanTrack(source, *found, profile)};
}

std::optional<Refusal> PlanPicture(const MachineState& machine, StreamPlan& plan) {
  const VideoTraits& video = plan.source.video;
  if (plan.video == VideoWay::kCopy) {
    CopyPlan copy;
    copy.frame_rate = video.frame_rate;
    copy.peak_bitrate = plan.source.bitrate;
    copy.codec_string = video.codec;
    plan.picture = PlanCopiedPicture(plan.source, copy);
  }
  if (plan.video != VideoWay::kEncode) return std::nullopt;
  if (std::optional<Refusal> refusal = WhyNotEncoded(video)) return refusal;
  plan.picture = PlanEncodedPicture(plan.source, plan.profile);
  plan.picture.codec_string = "vp8";
  if (machine.memory_free < MemoryToEncode(video, plan.picture))
    return Refusal{kTooLittleMemory, std::to_string(machine.memory_free) + " bytes of memory are left"};
  return std::nullopt;
}

bool ServesWebM(const media::TransProfile& profile) {
  return std::any_of(profile.uses.begin(), profile.uses.end(),
                     [](const media::ProfileUse& use) { return use.kind == "WEBM"; });
}

SegmentGrid OnePiece(int64_t duration_ms) {
  return {MediaTime(1, 1000), {0, duration_ms > 0 ? std::min(duration_ms, kLongestFilm) : kLongestFilm}};
}

}  // namespace

std::variant<StreamPlan, Refusal> PlanWebM(const SourceTraits& source, const std::string& audio_track,
                                           const media::TransProfile& profile, const MachineState& machine) {
  if (!ServesWebM(profile)) return Refusal{"", "the profile " + profile.name + " is not for WebM"};
  auto sound = PlanSound(source, audio_track, profile);
  if (const auto* const refusal = std::get_if<Refusal>(&sound)) return *refusal;
  StreamPlan plan;
  plan.delivery = Delivery::kWebM;
  plan.source = source;
  plan.profile = profile;
  plan.audio = std::move(std::get<std::vector<AudioPlan>>(sound));
  plan.video = source.video.track < 0      ? VideoWay::kNone
               : IsCopied(source, profile) ? VideoWay::kCopy
                                           : VideoWay::kEncode;
  plan.grid = OnePiece(source.duration_ms);
  if (plan.video == VideoWay::kNone && plan.audio.empty())
    return Refusal{kVideoNotSupported, "nothing to be seen or heard"};
  if (plan.Encodes()) {
    if (std::optional<Refusal> refusal = WhyNothingIsEncoded(machine)) return *refusal;
  }
  if (!machine.space) return Refusal{kNoSpace, "no space for another stream"};
  if (std::optional<Refusal> refusal = PlanPicture(machine, plan)) return *refusal;
  return plan;
}

}  // namespace kinora::engine
