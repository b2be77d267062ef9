// Where what was discovered for a video is kept.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

// The folder of the video at the absolute `path` on the volume that has the space; it is made when it is not
// there, which takes root's rights. Empty when there is none: a line in the log, or the platform's error,
// says why no volume could be had.
std::string MakeDiscoveryFolder(const std::string& path);

}  // namespace crvnkn::webapi::subtitle
