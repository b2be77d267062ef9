#include "platform/engine/copied_fragment.h"

#include <algorithm>

namespace kinora::engine {
namespace {

constexpr int64_t kSoundFragment = 6;  // seconds

}  // namespace

CopyDecision PlanCopy(const SourceTraits&) {
  return {CopyVerdict::kNever, {}, "films of this container are not cut yet"};
}

SegmentGrid MakeSoundGrid(const MediaTime& duration) {
  SegmentGrid grid;
  grid.unit = MediaTime(1, kTransportClock);
  const int64_t end = std::max<int64_t>(Ceil(duration * kTransportClock), 1);
  constexpr int64_t kLength = kSoundFragment * kTransportClock;
  grid.boundaries.push_back(0);
  while (end - grid.boundaries.back() >= kLength + kLength / 2) {
    grid.boundaries.push_back(grid.boundaries.back() + kLength);
  }
  grid.boundaries.push_back(end);
  return grid;
}

FragmentOutcome PrepareCopied(const StreamFolder&, const StreamPlan&, int) {
  return FragmentOutcome::kFailed;
}

FragmentOutcome PrepareCopiedAudio(const StreamFolder&, const StreamPlan&, const AudioPlan&, int) {
  return FragmentOutcome::kFailed;
}

}  // namespace kinora::engine
