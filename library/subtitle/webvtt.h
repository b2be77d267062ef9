// From SubRip to WebVTT, line by line: timing lines are known by their shape and get points for commas, cue
// numbers go, everything else stays as it is.
#pragma once

#include <cstdint>
#include <string>

namespace crvnkn::webapi::subtitle {

// In which part of the film cues are wanted, in whole seconds; only where both are given.
struct CueWindow {
  int32_t start = -1;  // -1: not given
  int32_t end = -1;    // -1: not given; itself no more within
};

// What every document begins with, the blank line included. The time map says where the film's first instant
// lies on the clock of transport-stream fragments (RFC 8216, 3.5).
inline constexpr char kWebvttHeader[] = "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n";

// The document with the cues that overlap the window; empty when there is none.
std::string ConvertToWebvtt(const std::string& text, const CueWindow& window);

// A valid document without any text, for players that wait for one: the window, times below 0 raised to it,
// as its only timing line.
std::string MakeEmptyWebvtt(const CueWindow& window);

}  // namespace crvnkn::webapi::subtitle
