// JSON values as files.
#pragma once

#include <json/json.h>

#include <string>

namespace LibKinora {

// Writes the value whole, with mode 0600: a reader sees the old file or the new one. Bytes that are no UTF-8
// become U+FFFD. false, with a line in the system log, when the path is not absolute or the file cannot be
// written; what was there stays then.
bool WriteJsonToFile(const std::string& path, const Json::Value& value);

// Reads the JSON document (RFC 8259: no comments, no member twice, nothing behind it; an array or an object)
// in the file. false, with `value` as it was, when there is no such file, or, with a line in the system log,
// when the path is not absolute, the file is no plain one, is larger than 1 MiB, cannot be read, or holds
// anything else, be it nested deeper than 64. Never throws but for want of memory.
bool ReadJsonFromFile(const std::string& path, Json::Value& value);

}  // namespace LibKinora
