// Which samples a chunk of Smooth Streaming is to hold, and when they are.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "helpers/common/film_index.h"
#include "helpers/remux/smooth_samples.h"

namespace kinora::helper {

struct ChunkOrder {
  uint32_t sequence = 0;                 // the chunk's number among its track's, from 1
  int64_t first = 0;                     // the number of its first sample, from the film's beginning
  int64_t count = 0;                     // at least 1
  Moment unit;                           // what each sample lasts, exactly
  std::optional<ParameterSets> picture;  // nothing: it is sound

  int64_t TickOf(int64_t sample) const;         // in units of 100 ns
  int64_t TransportTime(int64_t sample) const;  // on the transport stream's clock
  int Frequency() const;                        // of sound, Hz; 0: its packets are not as long as packets are
};

// Of the arguments SEQUENCE FIRST COUNT UNIT SETS. Throws Failure.
ChunkOrder OrderFrom(const std::vector<std::string>& arguments);

}  // namespace kinora::helper
