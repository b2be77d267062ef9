// What every answer of a Smooth Streaming film must look like.
#pragma once

#include <string>

#include "tests/http/hls_expectations.h"
#include "tests/http/smooth_viewer.h"

namespace kinora::test {

void ExpectManifest(const Reply& reply, const std::string& what);
// A "moof" box and a "mdat" box, and nothing else.
void ExpectChunk(const Reply& reply, const std::string& what);

// Chunk `number` of the track, which says of itself that it is where the manifest has it, from its beginning
// to the next one's. Gives it.
Reply ExpectChunkOf(const SmoothViewer& viewer, const ViewedStream& stream, const SmoothTrack& track,
                    size_t number);

}  // namespace kinora::test
