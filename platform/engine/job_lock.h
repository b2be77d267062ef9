// The lock of a stream's job, work/job.lock: held by the supervisor as long as it lives, through a descriptor
// that it is given. It belongs to the open file (F_OFD_SETLK), so looking at it does not get in anybody's
// way.
#pragma once

#include <string>

#include "platform/base/descriptor.h"

namespace kinora::engine {

// Waits a few seconds for a job that is ending. Empty, with a line in the log, when the lock cannot be had.
base::Descriptor TakeJobLock(const std::string& path);

// Whether somebody holds it.
bool IsJobLockHeld(const std::string& path);

// Holds the file's lock together with others of its kind, so that it is seen to be held. Empty when it
// cannot.
base::Descriptor ShareLock(const std::string& path);

// Waits for the lock by which new jobs are counted one at a time, over all streams; free again when closed.
// Throws std::system_error.
base::Descriptor TakeAdmissionLock();

}  // namespace kinora::engine
