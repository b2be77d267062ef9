// From a request to its answer: which method it names, whether the caller may call it, what comes of
// failures.
#pragma once

#include <optional>
#include <string_view>

#include "entry/method.h"

namespace kinora::entry {

// The answer, or nothing when a method has written its own. Never throws but for want of memory: every
// failure has its code, and a line in the log.
std::optional<Answer> Dispatch(const Request& request, const system::Settings& settings);

// The method that the parameters name. Throws Error: no such API, method, version.
const Method& FindMethod(const std::vector<Method>& methods, std::string_view api, std::string_view name,
                         std::string_view version);

// Whether the method may be called with this verb.
bool TakesVerb(const Method& method, std::string_view verb);

}  // namespace kinora::entry
