// CRVN.Kinora2.Catalog: the videos that there are.
#pragma once

#include <optional>

#include "entry/answer.h"
#include "entry/context.h"
#include "platform/media/catalog.h"

namespace kinora::entry {

std::optional<Answer> ListVideos(Context& context);
std::optional<Answer> Rescan(Context& context);
std::optional<Answer> ReportProgress(Context& context);

// A video as the list shows it. `playable`: whether it can be sent as it is.
Json::Value ToJson(const media::Video& video, bool playable);

}  // namespace kinora::entry
