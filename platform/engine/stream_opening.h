// Opening a prepared stream: from the record of what was asked for to a plan and its playlists.
#pragma once

#include <json/json.h>

#include <optional>

#include "platform/engine/planning.h"
#include "platform/engine/refusal.h"
#include "platform/engine/stream_folder.h"

namespace kinora::engine {

inline constexpr char kPlanFile[] = "plan.json";

// Look at the film, plan, and write all that fragments and playlists, or the manifest, are served from into
// the folder. Nothing when the stream is open; else why it is not, and the folder is to be removed.
std::optional<Refusal> OpenHls(const StreamFolder& folder, const Json::Value& stream_url,
                               const Json::Value& subtitle_url, const StreamWishes& wishes);
std::optional<Refusal> OpenSmooth(const StreamFolder& folder, const StreamWishes& wishes);

// The same for live WebM.
std::optional<Refusal> OpenWebM(const StreamFolder& folder, const std::string& audio_track);

// Why an object stands for no stream, since none could be prepared.
Refusal WhyNotPrepared();

// The plan of an open stream. Nothing, with a line in the log, when there is none that can be read.
std::optional<StreamPlan> ReadPlan(const StreamFolder& folder);

}  // namespace kinora::engine
