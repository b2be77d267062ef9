// The cache files of an earlier naming, which are still read:
//
//   <folder of the video>/CRVNVIDEO_SUBTITLE_<track>.srt      or CRVNVIDEO:SUBTITLE_<track>.srt
//   <folder of the subtitle>/CRVNVIDEO_SUBTITLE.srt           or CRVNVIDEO:SUBTITLE.srt
//
// The folder is the extended-attribute folder of the file.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

inline constexpr int kNoTrack = -1;  // the subtitle is a file

// Finds such a file for a track of the video, or for the file at `subtitle_path` when there is no track, and
// puts it into `path`, which is left empty when there is none. 1 when it is newer than the video, 0 when it
// is not or not there, -1 when the video is not there or has no folder.
int FindOlderCache(const std::string& video_path, const std::string& subtitle_path, int track,
                   std::string& path);

}  // namespace crvnkn::webapi::subtitle
