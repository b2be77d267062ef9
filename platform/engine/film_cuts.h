// Reading what the index helper says of a film, without trusting it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/engine/media_time.h"

namespace kinora::engine {

struct FilmCuts {
  bool indexed = false;       // false: the film has no index, and nothing else is told
  int video = -1;             // the stream's index in the file; -1: it is cut by its sound
  std::string trouble;        // why the video cannot be copied; empty: it can
  std::vector<int64_t> cuts;  // on the transport clock in media time: growing, from 0 to the film's end
  MediaTime frame_rate{0};    // 0: not known
  std::string codec;          // RFC 6381; letters, digits and dots
  int64_t peak_bitrate = 0;   // bits per second

  bool operator==(const FilmCuts&) const = default;
};

// Of the helper's first line (helpers/index/main.cpp describes it); nothing when it is not as it must be.
std::optional<FilmCuts> ParseFilmCuts(std::string_view line);

}  // namespace kinora::engine
