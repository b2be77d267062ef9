// Which plug-ins are asked for subtitles, and what they are told besides the video. Two of them are known by
// their ids and are switched on by the settings; every other one always is and is told nothing.
#pragma once

#include <json/json.h>

#include <optional>
#include <string>
#include <vector>

namespace crvnkn::webapi::subtitle {

inline constexpr char kShooter[] = "com.corvane.Shooter";

// The settings as they are now; an empty object, with a line in the log, when they cannot be read.
Json::Value LoadAdvancedSettings();

// What follows the common arguments of a search; nothing when the plug-in is switched off.
std::optional<std::vector<std::string>> SearchSettings(const std::string& plugin_id,
                                                       const Json::Value& settings);

}  // namespace crvnkn::webapi::subtitle
