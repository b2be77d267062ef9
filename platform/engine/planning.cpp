#include "platform/engine/planning.h"

#include <algorithm>

#include "platform/engine/picture_plan.h"
#include "platform/engine/sound_plan.h"

namespace kinora::engine {
namespace {

constexpr int kSmoothChannels = 2;

bool Serves(const media::TransProfile& profile, std::string_view kind, bool remux) {
  return std::any_of(profile.uses.begin(), profile.uses.end(),
                     [&](const media::ProfileUse& use) { return use.kind == kind && use.remux == remux; });
}

std::optional<Refusal> WhyNotCopied(const VideoTraits& video, const std::optional<CopyDecision>& copy) {
  if (video.rotate != 0) return Refusal{kVideoNotSupported, "a copied picture cannot be turned"};
  if (!copy || copy->verdict != CopyVerdict::kCopies)
    return Refusal{kVideoNotSupported, "the video cannot be copied: " + (copy ? copy->reason : "not asked")};
  return std::nullopt;
}

// Hardware has parameter sets of its own, which nobody knows beforehand.
std::optional<Refusal> PlanEncoder(const MachineState& machine, StreamPlan& plan) {
  if (plan.delivery == Delivery::kSmooth) {
    if (Serves(plan.profile, "SS", false)) return std::nullopt;
    return Refusal{"", "the profile " + plan.profile.name + " is not for Smooth Streaming"};
  }
  plan.hardware = machine.hardware && Serves(plan.profile, "VAAPI_HLS", false);
  if (plan.hardware || Serves(plan.profile, "HLS", false)) return std::nullopt;
  return Refusal{kNoHardware, "the profile " + plan.profile.name + " is for hardware alone"};
}

// Fills in the picture, the hardware and the cuts.
std::optional<Refusal> PlanVideo(const std::optional<CopyDecision>& copy, const MachineState& machine,
                                 StreamPlan& plan) {
  const MediaTime duration(plan.source.duration_ms, 1000);
  if (plan.video == VideoWay::kNone) {
    plan.grid = MakeSoundGrid(duration);
    return std::nullopt;
  }
  if (plan.video == VideoWay::kCopy) {
    if (std::optional<Refusal> refusal = WhyNotCopied(plan.source.video, copy)) return refusal;
    plan.picture = PlanCopiedPicture(plan.source, copy->plan);
    plan.grid = copy->plan.grid;
    return std::nullopt;
  }
  if (std::optional<Refusal> refusal = WhyNotEncoded(plan.source.video)) return refusal;
  plan.picture = PlanEncodedPicture(plan.source, plan.profile);
  if (machine.memory_free < MemoryToEncode(plan.source.video, plan.picture))
    return Refusal{kTooLittleMemory, std::to_string(machine.memory_free) + " bytes of memory are left"};
  if (std::optional<Refusal> refusal = PlanEncoder(machine, plan)) return refusal;
  plan.grid = MakeFrameGrid(plan.picture.frame_rate, duration);
  return std::nullopt;
}

using Sound = std::variant<std::vector<AudioPlan>, Refusal>;

// What the plan needs beyond its sound.
std::optional<Refusal> Finish(const Sound& sound, const std::optional<CopyDecision>& copy,
                              const MachineState& machine, StreamPlan& plan) {
  if (!machine.space) return Refusal{kNoSpace, "no space for another stream"};
  if (const auto* const refusal = std::get_if<Refusal>(&sound)) return *refusal;
  if (plan.video == VideoWay::kNone && plan.audio.empty())
    return Refusal{kVideoNotSupported, "nothing to be seen or heard"};
  if (plan.source.duration_ms <= 0 || plan.source.duration_ms > kLongestFilm)
    return Refusal{kVideoNotSupported, "the length of the film is not known"};
  return PlanVideo(copy, machine, plan);
}

}  // namespace

std::optional<Refusal> WhyNothingIsEncoded(const MachineState& machine) {
  if (!machine.transcoding) return Refusal{kSwitchedOff, "transcoding is switched off"};
  if (machine.converting_offline) return Refusal{kConvertingOffline, "an offline conversion has the machine"};
  return std::nullopt;
}

bool CopiesVideo(const media::TransProfile& profile) { return Serves(profile, "HLS", true); }

std::variant<StreamPlan, Refusal> PlanStream(const SourceTraits& source, const StreamWishes& wishes,
                                             const media::TransProfile& profile,
                                             const std::optional<CopyDecision>& copy,
                                             const MachineState& machine) {
  StreamPlan plan;
  plan.source = source;
  plan.profile = profile;
  const bool copies = CopiesVideo(profile);
  plan.video = source.video.track < 0 ? VideoWay::kNone : copies ? VideoWay::kCopy : VideoWay::kEncode;
  Sound sound = PlanSound(source, wishes, profile, {.copies = copies});
  if (auto* const planned = std::get_if<std::vector<AudioPlan>>(&sound)) plan.audio = std::move(*planned);

  const std::optional<Refusal> not_encoded = WhyNothingIsEncoded(machine);
  if (not_encoded && plan.Encodes()) {
    // Some of the tracks may do as they are.
    auto copied = PlanSound(source, wishes, profile, {.copies = copies, .encodes = false});
    auto* const planned = std::get_if<std::vector<AudioPlan>>(&copied);
    if (plan.video == VideoWay::kEncode || planned == nullptr) return *not_encoded;
    plan.audio = std::move(*planned);
  }
  if (std::optional<Refusal> refusal = Finish(sound, copy, machine, plan)) return *refusal;
  return plan;
}

std::variant<StreamPlan, Refusal> PlanSmoothStream(const SourceTraits& source, const StreamWishes& wishes,
                                                   const media::TransProfile& profile,
                                                   const MachineState& machine) {
  if (!wishes.audio_format.empty() && wishes.audio_format != "aac")
    return Refusal{kAudioNotSupported, "no [" + wishes.audio_format + "] in Smooth Streaming"};
  StreamPlan plan;
  plan.delivery = Delivery::kSmooth;
  plan.source = source;
  plan.profile = profile;
  plan.profile.audio_channels = kSmoothChannels;
  plan.video = source.video.track < 0 ? VideoWay::kNone : VideoWay::kEncode;
  Sound sound = PlanSound(source, {wishes.audio_track, "aac"}, plan.profile, {.copies = false});
  if (auto* const planned = std::get_if<std::vector<AudioPlan>>(&sound)) plan.audio = std::move(*planned);
  if (std::optional<Refusal> refusal = WhyNothingIsEncoded(machine)) return *refusal;
  if (std::optional<Refusal> refusal = Finish(sound, std::nullopt, machine, plan)) return *refusal;
  return plan;
}

}  // namespace kinora::engine
