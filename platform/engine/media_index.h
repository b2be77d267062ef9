// How films can be cut, found out by the index helper once and kept.
//
//   indexes/<digest of the path>/         one folder for each film
//     <digest of what file it is>         what the helper said: a line of JSON, and behind it what
//                                         kinora-remux reads; its modification time is when it was last used
//     lock                                held while the helper is at work
//
// What an earlier state of a file left goes when its next one is kept; what nobody has used for a month goes
// when anything new is kept.
#pragma once

#include <optional>
#include <string>

#include "platform/base/descriptor.h"
#include "platform/engine/film_cuts.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

struct MediaIndex {
  FilmCuts film;
  base::Descriptor file;  // for kinora-remux; open for reading
};

// Nothing when there is none, with the reason. A film without an index of its own is read as a whole if it is
// small; else `film.indexed` of the answer is false.
std::optional<MediaIndex> IndexOf(const SourceIdentity& source, std::string& reason);

}  // namespace kinora::engine
