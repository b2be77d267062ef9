// Scratch files whose maker was killed before he could remove them.
#pragma once

#include <cstdint>
#include <string>

namespace kinora::system {

// Removes from the folder what the subtitles' pipeline has left there: plain files of this account with names
// as it makes them (CRVNVIDEO_...), that nobody has written to for an hour, several times as long as any of
// its children may work. `now` in nanoseconds since the epoch. What cannot be removed stays, with a line in
// the log.
void SweepSubtitleScratch(const std::string& folder, int64_t now);

}  // namespace kinora::system
