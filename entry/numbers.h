// Numbers in parameters.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "entry/request.h"

namespace kinora::entry {

// The value of decimal digits only, without sign, blank or leading zeros; nothing for other text, and for
// what exceeds `largest`.
std::optional<int64_t> ParseNumber(const std::string& text, int64_t largest);

// A parameter that is a number from `smallest` to `largest`. Throws Error 101 when it is something else.
int64_t NumberParameter(const Request& request, const char* name, int64_t smallest, int64_t largest);
// The same, `otherwise` when the parameter is missing.
int64_t NumberParameter(const Request& request, const char* name, int64_t smallest, int64_t largest,
                        int64_t otherwise);

}  // namespace kinora::entry
