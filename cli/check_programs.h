// Whether the programs that Kinora starts are there and can do what is asked of them.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "cli/finding.h"
#include "platform/system/settings.h"

namespace kinora::cli {

// The names in what ffmpeg prints for -encoders or -filters: of each line that is one of the list the second
// word.
std::set<std::string> NamesInListing(std::string_view listing);

Findings CheckParts();  // the package's own
Findings CheckFFmpeg();
Findings CheckSubtitles();  // what converts them
Findings CheckHardware(const system::Settings& settings);

}  // namespace kinora::cli
