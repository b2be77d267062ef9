// Opening a prepared stream: from the record of what was asked for to a plan and its playlists.
#pragma once

#include <json/json.h>

#include <optional>

#include "platform/engine/planning.h"
#include "platform/engine/refusal.h"
#include "platform/engine/stream_folder.h"

namespace kinora::engine {

inline constexpr char kPlanFile[] = "plan.json";

// Looks at the film, plans, and writes all that fragments and playlists are served from into the folder.
// Nothing when the stream is open; else why it is not, and the folder is to be removed.
std::optional<Refusal> OpenHls(const StreamFolder& folder, const Json::Value& stream_url,
                               const StreamWishes& wishes);

// The plan of an open stream. Nothing, with a line in the log, when there is none that can be read.
std::optional<StreamPlan> ReadPlan(const StreamFolder& folder);

}  // namespace kinora::engine
