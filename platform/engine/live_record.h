// The record of who makes the body of a direct stream: encoder.json in the stream's folder, which children
// cannot write to, so that the process it names is the right one. Others end that process by it.
#pragma once

#include <sys/types.h>

#include "platform/engine/stream_folder.h"

namespace kinora::engine {

// Throws std::system_error.
void WriteLiveEncoder(const StreamFolder& folder, pid_t pid);

// Kills the process of the record where it is still there. Nobody has to wait for it here: its lock tells
// when it is gone.
void KillLiveEncoder(const StreamFolder& folder);

}  // namespace kinora::engine
