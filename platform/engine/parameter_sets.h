// What a decoder of H.264 has to know before the first picture: the sequence and the picture parameter set.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// The first of each kind in a raw H.264 stream (ITU-T H.264, annex B), as PicturePlan has them. Nothing when
// one of them is missing.
std::optional<std::string> ParameterSetsIn(std::string_view stream);

// Those that every fragment of the plan, which is for Smooth Streaming, will have: found out by the encoder,
// in less than a tenth of a second. Nothing, with a line in the log, when it fails.
std::optional<std::string> FindParameterSets(const StreamPlan& plan);

}  // namespace kinora::engine
