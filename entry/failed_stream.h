// The answer in place of one that a streamer could not give.
//
// A streamer says no more than that it failed. Why is found out afterwards, by looking at what the stream
// needs.
#pragma once

#include "entry/answer.h"

namespace kinora::entry {

// What is wrong with a stream; several can be.
struct StreamFaults {
  bool stream_gone = false;        // it was closed or swept, or its records cannot be read
  bool source_gone = false;        // there is no such file any more
  bool source_replaced = false;    // its name belongs to another file now, or its content has changed
  bool source_unreadable = false;  // it is there, and may not be read
  bool part_unknown = false;       // the stream has no such playlist or fragment, the film no such time
  bool rest_unknown = false;       // the rest of a body is asked for by bytes that were never counted
  bool exhausted = false;          // no descriptors, no memory
  bool volume_full = false;        // below the stream's folder
  bool not_ready = false;          // its encoder is at work, on this part too slowly or on another one
  bool jobs_taken = false;         // it needs an encoder, and no more may be started

  bool operator==(const StreamFaults&) const = default;
};

// The first fault in the order of the fields that is there decides; without one the failure is ours. What
// passes by itself is answered with 503 and "Retry-After".
Answer FailedStreamAnswer(const StreamFaults& faults);

}  // namespace kinora::entry
