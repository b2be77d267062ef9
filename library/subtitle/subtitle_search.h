// Asking the plug-ins of subtitle providers for subtitles that match a video.
#pragma once

#include <json/json.h>

#include <string>

#include "library/export.h"

namespace crvnkn::webapi::subtitle {

// Asks every plug-in that is switched on, one after the other, for the video at the absolute `path`: takes as
// long as all of them together. Gives
//   "items"  an array of objects: what the plug-ins have found, each item as its plug-in wrote it, with that
//            one's "plugin_id" and "plugin_title"
//   "total"  how many these are
// A plug-in that fails adds nothing. Throws Error 101 without a message when the plug-ins cannot be told.
KINORA_EXPORT Json::Value GetSubtitleSearchResult(const std::string& path);

// Of such a result, with which a client has worked on: where the file that "subtitle_id" names is empty, that
// becomes "" and "downloaded" false.
KINORA_EXPORT void CheckSubtitleSearchResult(Json::Value& result);

}  // namespace crvnkn::webapi::subtitle
