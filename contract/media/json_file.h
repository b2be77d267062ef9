// JSON values as files.
#pragma once

#include <json/json.h>

#include <string>

namespace LibKinora {

// Writes the value whole, with mode 0600: a reader sees the old file or the new one. Bytes that are no UTF-8
// become U+FFFD. false, with a line in the system log, when the path is not absolute or the file cannot be
// written; what was there stays then.
bool WriteJsonToFile(const std::string& path, const Json::Value& value);

}  // namespace LibKinora
