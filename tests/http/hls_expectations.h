// What every answer of a stream in fragments must look like.
#pragma once

#include <string>

#include "tests/http/hls_viewer.h"

namespace kinora::test {

// The lines by which a page or device of any origin may read the answer, each exactly once, and those that
// keep it from being taken for something else.
void ExpectForAnyOriginOnce(const Reply& reply, const std::string& what);

void ExpectPlaylist(const Reply& reply, const std::string& what);
// Whole packets of a transport stream.
void ExpectFragment(const Reply& reply, const std::string& what);
// An answer without anything of the stream in it.
void ExpectRefused(const Reply& reply, int status, int code, const std::string& what);

// That each track of the fragment begins where the playlist has it, which begins at one second: with a frame
// to spare.
void ExpectOnTime(const Playlist& playlist, size_t number, const std::string& fragment);

}  // namespace kinora::test
