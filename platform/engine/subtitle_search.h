// Looking for the subtitles of a film: in it, and in files beside it.
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

#include "platform/engine/subtitle_offer.h"

namespace kinora::engine {

// Files first, then tracks, each in its order, as the list of the web API has them; bitmaps are no text.
// `report` is the probe's of the film at `path`. `chosen` is an id or empty: one that was not found is
// appended when it may be there all the same, a file from elsewhere or the one of a DLNA renderer.
std::vector<FoundSubtitle> FindSubtitles(const Json::Value& report, const std::string& path,
                                         const std::string& chosen);

}  // namespace kinora::engine
