#include "platform/engine/segment_grid.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace kinora::engine {
namespace {

constexpr std::array<int64_t, 2> kFirstSeconds = {1, 2};
constexpr int64_t kSeconds = 4;
constexpr int64_t kLongestFilm = int64_t{1000} * 60 * 60;  // seconds
constexpr int64_t kHighestRate = 1000;                     // frames a second
constexpr int64_t kFinest = INT32_MAX;  // of a fraction: products of two of them stay numbers
const MediaTime kShortestLast{1, 2};

bool IsSane(const MediaTime& value, int64_t most) {
  return value > 0 && value <= most && value.denominator() <= kFinest;
}

}  // namespace

int SegmentGrid::At(const MediaTime& time) const {
  const int64_t units = Floor(time / unit);
  const auto above = std::upper_bound(boundaries.begin(), boundaries.end(), units);
  return std::clamp(static_cast<int>(above - boundaries.begin()) - 1, 0, std::max(Count() - 1, 0));
}

SegmentGrid MakeFrameGrid(const MediaTime& frame_rate, const MediaTime& duration) {
  if (!IsSane(frame_rate, kHighestRate)) throw std::invalid_argument("no frame rate to cut by");
  if (!IsSane(duration, kLongestFilm)) throw std::invalid_argument("no duration to cut");
  SegmentGrid grid{1 / frame_rate, {0}};
  const int64_t frames = Ceil(duration * frame_rate);
  const int64_t last = frames - Ceil(kShortestLast * frame_rate);  // a fragment may start there, not later
  int64_t seconds = 0;
  for (size_t n = 0;; ++n) {
    seconds += n < kFirstSeconds.size() ? kFirstSeconds[n] : kSeconds;
    const int64_t frame = Ceil(seconds * frame_rate);
    if (frame > last) break;
    // Of a film with less than a frame a second.
    if (frame > grid.boundaries.back()) grid.boundaries.push_back(frame);
  }
  grid.boundaries.push_back(frames);
  return grid;
}

}  // namespace kinora::engine
