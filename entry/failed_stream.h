// The end of an answer that a streamer could not give.
#pragma once

#include <string>

#include "entry/answer.h"

namespace kinora::entry {

// What to say when Streamer::Stream gave false and only header lines were written: they stay, this completes
// them. `record` is the stream's file that holds the source's path.
Answer FailedStreamAnswer(const std::string& record);

}  // namespace kinora::entry
