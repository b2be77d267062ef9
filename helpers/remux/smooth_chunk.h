// From a fragment of a transport stream to a chunk of Smooth Streaming.
#pragma once

#include <string>

#include "helpers/remux/smooth_order.h"

namespace kinora::helper {

// The chunk, made of the fragment that is open as `descriptor`. Throws Failure when that cannot be read, or
// does not hold exactly what is ordered, each sample at its time; but for the packet of sound before the
// film's first, which fills the decoder and is left out.
std::string MakeChunk(int descriptor, const ChunkOrder& order);

}  // namespace kinora::helper
