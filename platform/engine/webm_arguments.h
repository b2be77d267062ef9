// What ffmpeg is told when it makes live WebM on its standard output. The film is its descriptor 3.
//
// All times in the WebM are the film's own: media time 0 is 0, wherever it starts, for a browser's video
// element shows them as its current time. What is encoded starts at the wanted time exactly. A copied picture
// starts at the key frame before, and its sound with it; a copied sound by itself, or with an encoded
// picture, loses the packets that lie before.
//
//   cluster_time_limit, cluster_size_limit   milliseconds and bytes: what a player has to wait for
//   live                                     no length, no index, nothing that would have to be known
//                                            beforehand; players then seek within what they have
#pragma once

#include <cstdint>

#include "platform/engine/ffmpeg_input.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// The arguments behind the program's name, to start at `seconds` into the film. Throws std::invalid_argument
// for a plan that cannot be carried out.
Arguments WebMArguments(const StreamPlan& plan, int64_t seconds);

}  // namespace kinora::engine
