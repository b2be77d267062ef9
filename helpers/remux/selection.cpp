#include "helpers/remux/selection.h"

#include <algorithm>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"

namespace kinora::helper {
namespace {

size_t PlaceOf(const FilmIndex& film, int stream, bool audio) {
  for (size_t i = 0; i < film.tracks.size(); ++i) {
    if (film.tracks[i].stream == stream && film.tracks[i].IsAudio() == audio) return i;
  }
  throw Failure(kUsage, "no such track in the index");
}

// The last cut at or before the moment, or the first.
size_t CutAt(const FilmIndex& film, const Moment& moment) {
  const auto later = [&film](const Moment& m, const Cut& cut) {
    __extension__ using Wide = __int128;
    return Wide{m.numerator} * kTransportClock < Wide{film.TicksOf(cut)} * m.denominator;
  };
  const auto next = std::upper_bound(film.cuts.begin(), film.cuts.end(), moment, later);
  return next == film.cuts.begin() ? 0 : static_cast<size_t>(next - film.cuts.begin()) - 1;
}

// The cut that is the moment.
size_t CutExactlyAt(const FilmIndex& film, const Moment& moment) {
  const size_t cut = CutAt(film, moment);
  __extension__ using Wide = __int128;
  if (Wide{film.TicksOf(film.cuts[cut])} * moment.denominator != Wide{moment.numerator} * kTransportClock) {
    throw Failure(kUsage, "the film is not cut there");
  }
  return cut;
}

}  // namespace

Selection Select(const FilmIndex& film, std::optional<Moment> start, std::optional<Moment> end,
                 std::optional<int> video, std::optional<int> audio) {
  Selection selection;
  selection.start = start;
  selection.end = end;
  if (audio) selection.audio = PlaceOf(film, *audio, true);
  selection.last_cut = film.cuts.size() - 1;
  if (video) {
    selection.video = PlaceOf(film, *video, false);
    if (*selection.video != static_cast<size_t>(film.anchor))
      throw Failure(kUsage, "the film is not cut by it");
    if (start) selection.first_cut = CutExactlyAt(film, *start);
    if (end) {
      const size_t next = CutExactlyAt(film, *end);
      if (next <= selection.first_cut) throw Failure(kUsage, "the fragment is empty");
      selection.last_cut = next - 1;
    }
    return selection;
  }
  if (start) selection.first_cut = CutAt(film, *start);
  if (end) selection.last_cut = std::max(CutAt(film, *end), selection.first_cut);
  return selection;
}

}  // namespace kinora::helper
