// What becomes of the sound: which tracks go out, as what, and under which names.
#pragma once

#include <variant>
#include <vector>

#include "platform/engine/planning.h"
#include "platform/engine/refusal.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// What may be done to the sound.
struct SoundWays {
  bool copies = false;  // the video is copied too: then sound is copied wherever that serves
  bool encodes = true;
};

// Whether this machine can decode the track.
bool CanBeEncoded(const AudioTraits& audio);

// One entry for each track that can be heard, in the file's order, exactly one of them the default. Tracks
// that cannot be decoded, or would have to be encoded where nothing is, are left out; it is a refusal when
// that is the one to be heard first.
std::variant<std::vector<AudioPlan>, Refusal> PlanSound(const SourceTraits& source,
                                                        const StreamWishes& wishes,
                                                        const media::TransProfile& profile,
                                                        const SoundWays& ways);

}  // namespace kinora::engine
