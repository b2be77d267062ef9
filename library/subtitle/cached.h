// The text of a subtitle in a file beside its source, brought there in stages, each of which keeps its result
// for later requests.
#pragma once

#include <string>

#include "library/subtitle/method_arguments.h"

namespace crvnkn::webapi::subtitle {

// The path of the last stage's file, which is newer than the subtitle and the video; empty, with a line in
// the log, when it is not to be had now.
std::string BringToCache(GetMethodArguments& request);

}  // namespace crvnkn::webapi::subtitle
