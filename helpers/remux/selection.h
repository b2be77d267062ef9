// Which packets make a fragment.
#pragma once

#include <optional>

#include "helpers/common/film_index.h"

namespace kinora::helper {

// The places are those in the index's tracks.
struct Selection {
  std::optional<size_t> video;  // from key packet to key packet: the boundaries are cuts
  std::optional<size_t> audio;  // by time: from the start, up to and without the end
  std::optional<Moment> start;  // nothing: all that comes earlier belongs to it
  std::optional<Moment> end;    // nothing: all that comes later
  size_t first_cut = 0;         // what lies in these cuts' parts of the film...
  size_t last_cut = 0;          // ...holds all of it; this one too

  bool Starts() const { return !start; }  // it is the film's first fragment
};

// Of the fragment from `start` to `end` with these tracks (the streams' numbers in the file). Throws Failure
// when the index has no such track, or the video is not cut there.
Selection Select(const FilmIndex& film, std::optional<Moment> start, std::optional<Moment> end,
                 std::optional<int> video, std::optional<int> audio);

}  // namespace kinora::helper
