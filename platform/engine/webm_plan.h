// What becomes of a film that goes out as live WebM: one picture and one sound, each of them copied or
// encoded.
#pragma once

#include <string>
#include <variant>

#include "platform/engine/planning.h"
#include "platform/engine/refusal.h"
#include "platform/engine/stream_plan.h"
#include "platform/media/trans_profile.h"

namespace kinora::engine {

// `audio_track` is VideoMetaData's id; empty: the file's first. What goes out is VP8, or the picture as it is
// where WebM takes its codec, with Opus, or the sound as it is where that is Opus or Vorbis. The plan's grid
// is one piece: the whole film, or, where nobody knows how long it is, as long as a film can be.
std::variant<StreamPlan, Refusal> PlanWebM(const SourceTraits& source, const std::string& audio_track,
                                           const media::TransProfile& profile, const MachineState& machine);

}  // namespace kinora::engine
