#include "platform/engine/smooth_times.h"

namespace kinora::engine {
namespace {

// The nearest tick. Whole seconds apart, or the products of long films would not be numbers any more.
int64_t TickAt(const MediaTime& time) {
  const int64_t seconds = Floor(time);
  return seconds * kSmoothClock + Floor((time - seconds) * kSmoothClock + MediaTime(1, 2));
}

// The first packet that does not start before the cut.
int64_t PacketAt(const SegmentGrid& grid, int frequency, int cut) {
  const MediaTime time = grid.unit * grid.boundaries.at(static_cast<size_t>(cut));
  return Ceil(time * int64_t{frequency} / kSamplesInPacket);
}

}  // namespace

int64_t PictureTick(const MediaTime& unit, int64_t number) { return TickAt(unit * number); }

int64_t PacketTick(int frequency, int64_t number) {
  return TickAt(MediaTime(number * kSamplesInPacket, frequency));
}

SmoothChunk PictureChunk(const SegmentGrid& grid, int number) {
  const int64_t first = grid.boundaries.at(static_cast<size_t>(number));
  const int64_t end = grid.boundaries.at(static_cast<size_t>(number) + 1);
  const int64_t start = PictureTick(grid.unit, first);
  return {first, end - first, start, PictureTick(grid.unit, end) - start};
}

SmoothChunk SoundChunk(const SegmentGrid& grid, int frequency, int number) {
  const int64_t first = PacketAt(grid, frequency, number);
  const int64_t end = PacketAt(grid, frequency, number + 1);
  const int64_t start = PacketTick(frequency, first);
  return {first, end - first, start, PacketTick(frequency, end) - start};
}

}  // namespace kinora::engine
