// V1 of a subtitle: its text in SubRip, in the charset that it came in.
#pragma once

#include <string>

#include "library/subtitle/method_arguments.h"

namespace crvnkn::webapi::subtitle {

// Fills the file `v1_path`. false, with a line in the log, when that is not to be had now.
bool GenerateV1(const GetMethodArguments& request, const std::string& v1_path);

}  // namespace crvnkn::webapi::subtitle
