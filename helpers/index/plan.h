// Choosing where a film is cut.
#pragma once

#include <cstdint>
#include <vector>

#include "helpers/common/film_index.h"
#include "helpers/index/walk.h"

namespace kinora::helper {

// Which of these times (ticks, growing) become cuts: the first, and each that lies at least about six seconds
// behind the cut before and leaves at least half a second up to `end`.
std::vector<size_t> ChooseCuts(const std::vector<int64_t>& times, int64_t end);

// The cuts of what was found, with the packets' lists handed out to them: a video track's from key packet to
// key packet in decode order, an audio track's by time. What lies before the first cut belongs to it.
std::vector<Cut> MakeCuts(const FilmIndex& film, const Walk& walk);

}  // namespace kinora::helper
