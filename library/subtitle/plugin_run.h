// One run of a plug-in: a PHP program that gets a fixed command line and answers with one JSON document on
// its standard output. It gets no deadline from here; the process runner has its own.
#pragma once

#include <json/json.h>

#include <optional>
#include <string>
#include <vector>

namespace crvnkn::webapi::subtitle {

// Runs "/usr/bin/php" "-f" <plug-in's folder>"/subtitle.php" "--" "--action" <action> "--path" <path>
// <further...> and waits for its end. Nothing when the run fails, be it by an exit status other than 0, or
// when its answer is no JSON or larger than any list of subtitles.
std::optional<Json::Value> RunPlugin(const Json::Value& description, const std::string& action,
                                     const std::string& path, const std::vector<std::string>& further);

}  // namespace crvnkn::webapi::subtitle
