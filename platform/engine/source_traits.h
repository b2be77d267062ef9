// What of a source the plan depends on, from the probe's report and from the file itself.
#pragma once

#include <json/json.h>

#include <optional>
#include <string>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// The file that bears this name now; nothing when there is no regular one.
std::optional<SourceIdentity> IdentifySource(const std::string& path);

// `report` is one of ParseReport. Of several video tracks the first counts.
SourceTraits ReadTraits(const Json::Value& report, const SourceIdentity& identity);

}  // namespace kinora::engine
