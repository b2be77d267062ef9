// The subtitle that a DLNA renderer was given with a film: a link in the film's extended-attribute folder
// says which file that was.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

// What the link of the video says. Throws Error 1151 with "GetEADirPath failed: <video>", or with "readlink
// failed: <link>" when there is none that counts.
std::string SubtitleOfDlnaRenderer(const std::string& video_path);

}  // namespace crvnkn::webapi::subtitle
