// Fetching one subtitle that a search has found.
#pragma once

#include <json/json.h>

#include <string>

#include "library/export.h"

namespace crvnkn::webapi::subtitle {

// Has the plug-in `pluginId` (an item's "plugin_id") fetch its subtitle `subtitleId` (the item's "id") for
// the video at the absolute `path`, next to which it puts the file. It is tried three times, with a second
// after each that has failed. On success `result` is the plug-in's whole answer, any JSON value, the member
// "id" of which is the path of the file; else `result` stays as it was. A file that the "id" in `result`
// names is given to the appliance's ordinary user in either case, so hand in an empty one. false when there
// is no such plug-in, it failed each time, or, with a line in the log, the plug-ins cannot be told.
KINORA_EXPORT bool DownloadSubtitle(const std::string& path, const std::string& pluginId,
                                    const std::string& subtitleId, Json::Value& result);

}  // namespace crvnkn::webapi::subtitle
