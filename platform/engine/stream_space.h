// The disk space under the streams.
#pragma once

#include <cstdint>

#include "platform/engine/stream_folder.h"

namespace kinora::engine {

// What a volume must have free, above the floor that the settings name, for a stream to start there: a minute
// of film in fragments, about. Bytes.
inline constexpr uint64_t kSpaceOfAStream = 32ULL << 20;

// Where a fragment could not be made and there is less than this, it was for want of space. Bytes.
inline constexpr uint64_t kSpaceOfAFragment = 8ULL << 20;

// Whether a volume has room for a stream.
bool HasSpaceForAStream();

// Bytes on disk that the stream takes.
uint64_t SpaceOf(const StreamFolder& folder);

// Whether the volume that the stream's folder is on has at least `floor` bytes free.
bool HasSpaceBelow(const StreamFolder& folder, uint64_t floor);

// Bytes on disk that all streams in the workspace take. What vanishes meanwhile, or cannot be read, counts as
// nothing.
uint64_t SpaceOfAllStreams();

}  // namespace kinora::engine
