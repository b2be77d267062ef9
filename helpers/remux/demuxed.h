// Copying packets that only a demuxer finds: Matroska, transport streams.
#pragma once

#include "helpers/common/film_index.h"
#include "helpers/remux/selection.h"
#include "helpers/remux/transport.h"

namespace kinora::helper {

// Reads the film that is open as `descriptor`, from a key packet some way before the fragment. Throws Failure
// when it is not what its index says.
void CopyDemuxed(int descriptor, const IndexReader& index, const Selection& selection, TransportWriter& out);

// The decode times of pictures whose presentation times are all that is known: those of all pictures in
// growing order, each as many pictures later as pictures can be out of order. `before` are the times of the
// pictures that came right before; where there are too few, the frame's duration stands in.
std::vector<int64_t> DecodeTimes(std::vector<int64_t> before, std::vector<int64_t> times, int reorder_depth,
                                 int64_t frame_duration);

}  // namespace kinora::helper
