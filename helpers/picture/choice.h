// Which picture of a film stands for it.
#pragma once

#include <cstdint>
#include <vector>

#include "helpers/picture/film.h"

namespace kinora::helper {

// Where to look, in milliseconds, best first: a little way in, past titles and black; at last the beginning.
std::vector<int64_t> PlacesToLook(int64_t duration_ms);

// How much of the picture is more than black, 0 to 1. Its first plane is 8-bit luma.
double LitShare(const AVFrame& picture);

// The first picture that is not nearly black, or the least black of those tried, `width` pixels wide. Throws
// Failure when the film has none that can be decoded.
Frame ChoosePicture(Film& film, int width);

}  // namespace kinora::helper
