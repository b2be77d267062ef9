// Starting the supervisor of a stream's job.
#pragma once

#include "platform/engine/encode_arguments.h"
#include "platform/engine/job.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// The stream has no job, and its lock is held by the caller. kReady: it has one now. `tries` is for the
// record. Throws std::system_error.
FragmentOutcome StartJob(const StreamFolder& folder, const StreamPlan& plan, const EncoderRun& run,
                         int tries);

}  // namespace kinora::engine
