// The chunks of a Smooth Streaming film: the plan's cuts on the clock of its manifest, whole ticks of 100 ns.
// What a chunk lasts is the difference of two starts, so that sums are exact however long the film is.
#pragma once

#include <cstdint>

#include "platform/engine/media_time.h"
#include "platform/engine/segment_grid.h"

namespace kinora::engine {

inline constexpr int64_t kSmoothClock = 10'000'000;  // ticks a second
inline constexpr int64_t kSamplesInPacket = 1024;    // of AAC

struct SmoothChunk {
  int64_t first = 0;     // pictures, or packets of sound, from the film's beginning
  int64_t count = 0;     // in this chunk, at least 1
  int64_t start = 0;     // ticks
  int64_t duration = 0;  // ticks, until the next chunk starts

  bool operator==(const SmoothChunk&) const = default;
};

// Where picture `number` is, the grid's unit being what one of them lasts.
int64_t PictureTick(const MediaTime& unit, int64_t number);
// Where packet `number` is; packet 0 holds the film's first samples.
int64_t PacketTick(int frequency, int64_t number);

// Chunk `number` of the grid: all pictures between two cuts; all packets that start between them.
SmoothChunk PictureChunk(const SegmentGrid& grid, int number);
SmoothChunk SoundChunk(const SegmentGrid& grid, int frequency, int number);

}  // namespace kinora::engine
