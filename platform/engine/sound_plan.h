// What becomes of the sound: which tracks go out, as what, and under which names.
#pragma once

#include <variant>
#include <vector>

#include "platform/engine/planning.h"
#include "platform/engine/refusal.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// One entry for each track that can be heard, in the file's order, exactly one of them the default. Tracks
// that cannot be decoded are left out; it is a refusal when that is the one to be heard first. `copies` tells
// that the video is copied too: then sound is copied wherever that serves.
std::variant<std::vector<AudioPlan>, Refusal> PlanSound(const SourceTraits& source,
                                                        const StreamWishes& wishes,
                                                        const media::TransProfile& profile, bool copies);

}  // namespace kinora::engine
