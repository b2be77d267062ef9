// The plug-ins of subtitle providers that are installed.
#pragma once

#include <json/json.h>

namespace crvnkn::webapi::subtitle {

// Makes `plugins` an object of their descriptions under their ids; false, with a line in the log, when the
// plug-ins cannot be told.
bool LoadPlugins(Json::Value& plugins);

}  // namespace crvnkn::webapi::subtitle
