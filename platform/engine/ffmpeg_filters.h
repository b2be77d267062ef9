// The filters that make of any film what players take: pictures upright, progressive, in square pixels and
// ordinary colours, sound without holes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// With a comma behind it; empty where there is nothing to do. One picture of each frame, or of each field
// where the output has about twice as many frames.
std::string Deinterlacing(const VideoTraits& video, const PicturePlan& picture);

// To the plan's size, and into ordinary colours where the film has others.
std::string Scaling(const VideoTraits& video, const PicturePlan& picture);

// To the plan's rate and channels; holes become silence. It starts at sample `start` of the film, or, without
// one, with the first that comes. Throws std::invalid_argument for channels that have no layout.
std::string Samples(const AudioPlan& audio, std::optional<int64_t> start);

// FFmpeg's name of the layout.
std::string LayoutOf(int channels);

}  // namespace kinora::engine
