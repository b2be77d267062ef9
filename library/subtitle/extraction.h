// V1 of a subtitle: its text in SubRip, taken out of the film or made of a file.
#pragma once

#include <string>

#include "library/subtitle/method_arguments.h"

namespace crvnkn::webapi::subtitle {

// Fills the file `v1_path`. false, with a line in the log, when that is not to be had now; without one when
// another process is at it. Where WebVTT is asked for, what takes time is done by a process of its own, and
// this one is told false.
bool GenerateV1(const GetMethodArguments& request, const std::string& v1_path);

}  // namespace crvnkn::webapi::subtitle
