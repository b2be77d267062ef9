// A chunk of Smooth Streaming: a fragment of ISO media ([MS-SSTR] 2.2.4; ISO/IEC 14496-12), without the boxes
// about the film as a whole, which the player makes from the manifest.
//
//   moof
//     mfhd                        the chunk's number among its track's
//     traf
//       tfhd 0x20                 the flags of all samples
//       trun                      of each sample its duration and size; of the first picture flags of its own
//       uuid 6d1d9b05-42d5-44e6-  when the chunk starts and how long it lasts (tfxd)
//            80e2-141daff757b2
//   mdat                          the samples
//
// Times are whole ticks of 100 ns.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kinora::helper {

struct ChunkSample {
  uint32_t duration = 0;  // ticks
  uint32_t size = 0;      // bytes
};

struct ChunkHead {
  uint32_t sequence = 0;
  bool picture = false;  // its first sample is a key picture, the others refer to it; else all are sound
  uint64_t start = 0;    // ticks
  uint64_t duration = 0;
  std::vector<ChunkSample> samples;
};

// All that comes before the samples' bytes, the head of their box included. They take less than 4 GB.
std::string WriteHead(const ChunkHead& head);

}  // namespace kinora::helper
