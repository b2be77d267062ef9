// Chunks of Smooth Streaming in tests: what is in them, and how ffmpeg is made to play them.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace kinora::engine {

// What a chunk says of itself. Times are ticks of 100 ns.
struct ChunkTable {
  uint32_t sequence = 0;
  uint64_t start = 0;
  uint64_t duration = 0;
  bool starts_with_key = false;
  std::vector<uint32_t> durations;  // of its samples
  std::vector<uint32_t> sizes;      // bytes

  // Bytes differ from one run of an encoder to the next, nothing else does.
  bool IsLike(const ChunkTable& other) const;
};
std::ostream& operator<<(std::ostream& out, const ChunkTable& chunk);

// Expects the boxes of a chunk, and nothing else.
ChunkTable ReadChunk(const std::string& path);

// What a player makes of the manifest before the first chunk: a film without samples.
std::string PictureHead(int width, int height, const std::string& parameter_sets);
std::string SoundHead(int channels, int frequency, const std::string& configuration);

// Expects ffmpeg to find so many samples in the chunks behind the head and to decode them without a word.
void ExpectPlays(const std::string& head, const std::vector<std::string>& chunks, size_t samples,
                 const std::string& scratch);

}  // namespace kinora::engine
