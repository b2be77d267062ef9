// Why the engine refused a stream, in the terms of the web API.
#pragma once

#include <string>

#include "library/export.h"

namespace crvnkn::webapi::vte {

// Throws the Error that belongs to a keyword of LibCrvnVTE::VTEStream::GetErrorString: 1200 to 1210 without a
// message, 1212 "ThrowVTEError" for every other text. Letters' case counts.
[[noreturn]] KINORA_EXPORT void ThrowVTEError(const std::string& keyword);

}  // namespace crvnkn::webapi::vte
