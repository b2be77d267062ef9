// Finding a film's key packets, and where all its packets lie.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "helpers/common/film_index.h"
#include "helpers/common/media_input.h"

namespace kinora::helper {

struct Key {
  int64_t pts = 0;       // in the anchor's time base
  int64_t position = 0;  // in the file, as the demuxer wants it
};

struct Walk {
  std::vector<Key> keys;                        // the anchor's, growing
  std::vector<std::vector<PacketPlace>> lists;  // for each track, in decode order; empty: demuxer needed
  int reorder_depth = 0;                        // of the anchor
  int64_t end = 0;                              // ticks of the transport clock, in media time
  std::string trouble;                          // why the video cannot be copied; empty: it can

  // The first thing that is wrong is the one that is told.
  void Blame(const std::string& what) {
    if (trouble.empty()) trouble = what;
  }
};

// The containers whose films can be cut.
enum class Container { kMp4, kFragmentedMp4, kMatroska, kTransport, kOther };
Container ContainerOf(const MediaInput& input);

// From the file's own index, without reading its packets. Nothing when it has none.
std::optional<Walk> WalkIndex(MediaInput& input, Container container, const FilmIndex& film);

// From the packets, all of which are read.
Walk WalkPackets(MediaInput& input, Container container, const FilmIndex& film);

}  // namespace kinora::helper
