// The chunks of Smooth Streaming: made of the transport-stream fragments that the engine makes for all,
// packed anew by a helper when they are asked for.
#pragma once

#include "platform/engine/fragment_id.h"
#include "platform/engine/fragment_outcome.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// Makes chunk `id`, which the plan has, as SmoothFileName(id) in the stream's work folder: first its
// fragment, by the stream's job or, of sound, alone; then the chunk with exactly the samples of PictureChunk
// or SoundChunk. The job hears what is wanted also when the chunk is there. A chunk is whole when it shows up
// and is never changed. Chunks made long ago go before, so that a stream keeps a few only beside its
// fragments: who does not find the file any more when he opens it asks again.
FragmentOutcome PrepareSmooth(const StreamFolder& folder, const StreamPlan& plan, const FragmentId& id);

}  // namespace kinora::engine
