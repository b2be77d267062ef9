// How the cache files of a subtitle are named:
//
//   <folder>/CRVNVIDEO_2_0_SUBTITLE_<version>[_<codepage>[_<system code page>]][_PREVIEW][_<track>].srt
//
// The folder is the subtitle's extended-attribute folder. The code page stands where the content depends on
// it, with the machine's own where it is "auto"; the track where the subtitle is inside the video.
#pragma once

#include <string>

#include "library/subtitle/method_arguments.h"

namespace crvnkn::webapi::subtitle {

// Each is empty when there is no such folder, which is logged then, or when the request would name a file
// outside of it.

// As it came out of the video, or a copy of the subtitle's file.
std::string V1Path(GetMethodArguments& request);
// V1 in UTF-8.
std::string V2Path(GetMethodArguments& request);
// What V2 was called at times; such files are only removed.
std::string RetiredV2Path(GetMethodArguments& request);

// The file that is locked while V1 is made.
std::string LockPath(const std::string& v1_path);

// The same request but for the preview.
GetMethodArguments WithPreview(const GetMethodArguments& request, bool preview);

}  // namespace crvnkn::webapi::subtitle
