// Where a film is cut into fragments.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/engine/media_time.h"

namespace kinora::engine {

// Fragment n covers the time from boundary n up to boundary n + 1. Boundaries are whole numbers of `unit`:
// the duration of an output frame where the video is encoded, the track's time base where it is copied.
struct SegmentGrid {
  MediaTime unit{1};                // seconds
  std::vector<int64_t> boundaries;  // growing; one more than there are fragments; the first is 0

  int Count() const { return boundaries.empty() ? 0 : static_cast<int>(boundaries.size()) - 1; }
  MediaTime Start(int fragment) const { return unit * boundaries.at(static_cast<size_t>(fragment)); }
  MediaTime End(int fragment) const { return Start(fragment + 1); }
  MediaTime Duration(int fragment) const { return End(fragment) - Start(fragment); }

  // The fragment that covers `time`; the last for all that lies behind it.
  int At(const MediaTime& time) const;

  bool operator==(const SegmentGrid&) const = default;
};

// The grid of an encoded film: every cut lies on an output frame. The first fragments are short, so that the
// first is ready soon: 1, 2, then 4 seconds each. The last one takes what would make a fragment of less than
// half a second. `frame_rate` is frames a second, `duration` more than 0 and at most 1,000 hours; throws
// std::invalid_argument otherwise.
SegmentGrid MakeFrameGrid(const MediaTime& frame_rate, const MediaTime& duration);

}  // namespace kinora::engine
