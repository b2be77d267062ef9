// Ending the job of a stream.
#pragma once

#include "platform/engine/stream_folder.h"

namespace kinora::engine {

// Ends the job and waits until it is gone; false, with a line in the log, when it would not go.
bool EndRunningJob(const StreamFolder& folder);

}  // namespace kinora::engine
