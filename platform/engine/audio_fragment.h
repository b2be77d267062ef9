// The fragments of an audio track that is encoded as a rendition of its own: each is made alone, by a short
// run of ffmpeg, and is a pure function of the plan; neighbours join without a seam.
#pragma once

#include "platform/engine/job.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// Makes fragment `number` of `audio` (AudioWay::kEncode) in the stream's work folder, unless it is there.
FragmentOutcome PrepareEncodedAudio(const StreamFolder& folder, const StreamPlan& plan,
                                    const AudioPlan& audio, int number);

}  // namespace kinora::engine
