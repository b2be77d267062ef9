// How films can be cut, found out by the index helper once and kept.
//
//   indexes/<first two digits>/<digest of the path>/   one folder for each film (film_cache.h)
//     <digest of what file it is>         what the helper said: a line of JSON, and behind it what
//                                         kinora-remux reads; its modification time is when it was last used
//     <the same>.scan                     what a scan in the background is saying (index_scan.h)
//     lock, scan.lock                     held while the helper is at work
//
// What an earlier state of a file left goes when its next one is kept; what nobody has used for a month goes
// when anything new is kept.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/engine/film_cuts.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

struct MediaIndex {
  FilmCuts film;
  base::Descriptor file;  // for kinora-remux; open for reading
};

// Nothing when there is none, with the reason. A film without an index of its own is read as a whole: a small
// one at once, a large one in the background. Until that is done, `film.indexed` of the answer is false; a
// scan that was killed is begun anew by who asks next.
std::optional<MediaIndex> IndexOf(const SourceIdentity& source, std::string& reason);

// The file alone, for who knows how the film is cut: what is kept is not read. Nothing, with the reason, as
// IndexOf has it, and when there is no index.
base::Descriptor IndexFileOf(const SourceIdentity& source, std::string& reason);

// Whoever asks next for the index of this state of the film gets a new one.
void ForgetIndex(const SourceIdentity& source);

// Removes the indexes of all films but those whose paths `films` gives (FilmCache::KeepOnly).
void KeepIndexesOf(const std::function<std::vector<std::string>()>& films);

}  // namespace kinora::engine
