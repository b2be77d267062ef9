// One usable subtitle for a video, in a single call.
#pragma once

#include <string>

#include "library/export.h"
#include "library/runas_error.h"

namespace crvnkn::webapi::subtitle {

// The absolute path of a subtitle file for the video at the absolute `path`: the one that an earlier call has
// left, as long as it is readable, else the first one that the plug-ins find and that can be downloaded and
// read. It stays there. Takes as long as the plug-ins do, and three seconds more for each download that
// fails.
//
// Throws Error, always without a message: 101 when the path has no base name, no folder can be had or the
// plug-ins cannot be told; 105 when it cannot be told what is there already; 30000 when nothing was found, or
// nothing of it was usable. Throws runas_error when the process cannot become root.
KINORA_EXPORT std::string DiscoverSubtitle(const std::string& path);

// Whether ffprobe can read the file. If not, it is removed, provided that it can be a plug-in's.
KINORA_EXPORT bool IsValidSubtitleFile(const std::string& file);

}  // namespace crvnkn::webapi::subtitle
