// Reading the probe's report without trusting it: what is missing, of another kind or out of range is "" or
// 0.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kinora::engine {

// The report, in which "video", "audio" and "subtitle" are arrays of objects, 256 each at most; nothing
// for anything else. Nesting is bounded.
std::optional<Json::Value> ParseReport(const std::string& text);

// `object` is an object or null.
std::string TextOf(const Json::Value& object, const char* key);
int64_t NumberOf(const Json::Value& object, const char* key, int64_t most);  // 0 to `most`
bool FlagOf(const Json::Value& object, const char* key);

// The first track of the kind "video", "audio" or "subtitle", or null.
const Json::Value& FirstTrack(const Json::Value& report, const char* kind);

}  // namespace kinora::engine
