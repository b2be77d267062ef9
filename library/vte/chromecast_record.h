// Which Chromecast used the service last.
#pragma once

#include <string>

#include "library/export.h"

namespace crvnkn::webapi::vte {

// Replaces the record in "/var/packages/Kinora/etc/Chromecast.userdata", a JSON object:
//   "user_agent"  the text given here
//   "timestamp"   now, in seconds since 1970
// A record that cannot be written is no failure of the request: the old one stays, with a line in the log.
KINORA_EXPORT void RecordChromecastData(const std::string& user_agent);

}  // namespace crvnkn::webapi::vte
