// Deciding what becomes of a film: a pure function of what was asked for, what was found, and what the
// machine can do.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "platform/engine/copied_fragment.h"
#include "platform/engine/refusal.h"
#include "platform/engine/stream_plan.h"
#include "platform/media/trans_profile.h"

namespace kinora::engine {

// The audio format of those who want AC-3 and E-AC-3 as they are.
inline constexpr char kCopyAc3[] = "ac3_copy";

// The viewer's wishes, as HttpLiveStream::Init and SmoothStream::Init take them.
struct StreamWishes {
  std::string audio_track;
  std::string audio_format;
};

// What the machine has for a new stream.
struct MachineState {
  bool transcoding = true;            // the settings allow it
  bool converting_offline = false;    // another program has the machine for a conversion
  bool space = true;                  // on a volume, and under the quota of all streams
  bool hardware = false;              // VAAPI is there and to be used
  uint64_t memory_free = UINT64_MAX;  // bytes that may still be used
};

// Longer than any film. Milliseconds.
inline constexpr int64_t kLongestFilm = 1000LL * 60 * 60 * 1000;

// What speaks against encoding anything at all.
std::optional<Refusal> WhyNothingIsEncoded(const MachineState& machine);

// Whether the profile asks for the video to be copied into HLS.
bool CopiesVideo(const media::TransProfile& profile);

// For HLS. `copy` is PlanCopy's word where the profile copies the video and the film has one.
std::variant<StreamPlan, Refusal> PlanStream(const SourceTraits& source, const StreamWishes& wishes,
                                             const media::TransProfile& profile,
                                             const std::optional<CopyDecision>& copy,
                                             const MachineState& machine);

// For Smooth Streaming: picture and sound are encoded, in software, the sound to AAC of two channels. All but
// the picture's parameter sets, which only the encoder knows.
std::variant<StreamPlan, Refusal> PlanSmoothStream(const SourceTraits& source, const StreamWishes& wishes,
                                                   const media::TransProfile& profile,
                                                   const MachineState& machine);

}  // namespace kinora::engine
