// Whether a cache file can be served for what it was made of.
#pragma once

#include <ctime>
#include <optional>
#include <string>

#include "library/subtitle/method_arguments.h"

namespace crvnkn::webapi::subtitle {

// When the video or the subtitle was changed last; nothing, with a line in the log, when one of them is not
// there.
std::optional<time_t> NewestSource(const GetMethodArguments& request);

// Whether the file is there, is not empty, and is newer than that. In whole seconds: a source that is changed
// within the second in which its cache was made makes it stale.
bool IsNewer(const std::string& cache_path, time_t newest_source);
bool IsFresh(const std::string& cache_path, const GetMethodArguments& request);

}  // namespace crvnkn::webapi::subtitle
