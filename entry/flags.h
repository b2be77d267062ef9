// Parameters that are true or false.
#pragma once

#include "entry/request.h"

namespace kinora::entry {

// "true" or "1", "false" or "0"; `otherwise` when the parameter is missing. Throws Error 101 for all else.
bool FlagParameter(const Request& request, const char* name, bool otherwise);

}  // namespace kinora::entry
