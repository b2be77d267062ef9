// All that is told of how a film can be cut.
#pragma once

#include <optional>
#include <string>

#include "helpers/common/film_index.h"
#include "helpers/common/media_input.h"

namespace kinora::helper {

struct CutFilm {
  FilmIndex index;
  std::string trouble;       // why the video cannot be copied; empty: it can
  std::string codec_string;  // RFC 6381
  AVRational frame_rate = {0, 1};
  int64_t peak_bitrate = 0;  // bits per second, of all tracks between two cuts; 0: not known
};

// Reads the container's own index or, with `scan`, the whole file. Nothing when there is no such index and
// the file is not to be scanned. Throws Failure when the file holds nothing to be cut.
std::optional<CutFilm> CutUp(MediaInput& input, bool scan);

}  // namespace kinora::helper
