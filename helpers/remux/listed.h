// Copying packets whose places the index lists.
#pragma once

#include "helpers/common/film_index.h"
#include "helpers/remux/selection.h"
#include "helpers/remux/transport.h"

namespace kinora::helper {

// Reads the packets from the film that is open as `descriptor`. Throws Failure when it is shorter than its
// index says.
void CopyListed(int descriptor, const IndexReader& index, const Selection& selection, TransportWriter& out);

}  // namespace kinora::helper
