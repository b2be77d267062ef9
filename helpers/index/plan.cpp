#include "helpers/index/plan.h"

#include <algorithm>

namespace kinora::helper {
namespace {

constexpr int64_t kShortest = 59 * kTransportClock / 10;
constexpr int64_t kShortestLast = kTransportClock / 2;
// Reading through a demuxer starts that much before a cut: sound may lie before the picture that it belongs
// to.
constexpr int64_t kLead = 2 * kTransportClock;

// The last key at least the lead before this one.
size_t LeadOf(const std::vector<int64_t>& times, size_t key) {
  size_t lead = key;
  while (lead > 0 && times[lead] > times[key] - kLead) --lead;
  return lead;
}

// Where the part of each cut ends in a list.
std::vector<size_t> PartsOf(const std::vector<PacketPlace>& list, const IndexTrack& track, bool anchor,
                            const FilmIndex& film, const std::vector<Cut>& cuts) {
  std::vector<size_t> ends;
  size_t next = 0;
  for (size_t cut = 1; cut < cuts.size(); ++cut) {
    const Moment start{film.TicksOf(cuts[cut]), kTransportClock};
    const auto reached = [&](const PacketPlace& packet) {
      return anchor ? packet.position == cuts[cut].position : film.Reaches(track, packet.pts, start);
    };
    while (next < list.size() && !reached(list[next])) ++next;
    ends.push_back(next);
  }
  ends.push_back(list.size());
  return ends;
}

}  // namespace

std::vector<size_t> ChooseCuts(const std::vector<int64_t>& times, int64_t end) {
  std::vector<size_t> chosen;
  for (size_t i = 0; i < times.size(); ++i) {
    const bool first = chosen.empty();
    if (first || (times[i] - std::max<int64_t>(times[chosen.back()], 0) >= kShortest &&
                  end - times[i] >= kShortestLast)) {
      chosen.push_back(i);
    }
  }
  return chosen;
}

std::vector<Cut> MakeCuts(const FilmIndex& film, const Walk& walk) {
  const IndexTrack& anchor = film.tracks[static_cast<size_t>(film.anchor)];
  std::vector<int64_t> times;
  for (const Key& key : walk.keys) times.push_back(film.Ticks(anchor, key.pts));
  std::vector<Cut> cuts;
  for (const size_t key : ChooseCuts(times, walk.end)) {
    const Key& lead = walk.keys[LeadOf(times, key)];
    cuts.push_back({walk.keys[key].pts, lead.pts, lead.position, walk.keys[key].position, {}});
  }
  for (size_t track = 0; track < walk.lists.size(); ++track) {
    const auto& list = walk.lists[track];
    const bool is_anchor = static_cast<int>(track) == film.anchor;
    size_t first = 0;
    size_t cut = 0;
    for (const size_t end : PartsOf(list, film.tracks[track], is_anchor, film, cuts)) {
      cuts[cut++].lists.emplace_back(list.begin() + static_cast<ptrdiff_t>(first),
                                     list.begin() + static_cast<ptrdiff_t>(end));
      first = end;
    }
  }
  return cuts;
}

}  // namespace kinora::helper
