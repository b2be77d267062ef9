// The manifest of a Smooth Streaming film: complete when the stream is opened, and never changed.
#pragma once

#include <string>
#include <string_view>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {

inline constexpr char kSmoothManifest[] = "Manifest";  // in the stream's folder

// Of a plan for Smooth Streaming.
std::string MakeSmoothManifest(const StreamPlan& plan);

// Whether the text is a manifest of ours from its beginning to its end: a disk may have kept a part of it.
bool IsWholeSmoothManifest(std::string_view text);

}  // namespace kinora::engine
