// What becomes of the picture: its size, rate and cost.
#pragma once

#include <optional>

#include "platform/engine/copied_fragment.h"
#include "platform/engine/refusal.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// Why this machine does not take on to encode the video, if it does not.
std::optional<Refusal> WhyNotEncoded(const VideoTraits& video);

// Bytes of memory that encoding it needs, about.
uint64_t MemoryToEncode(const VideoTraits& video, const PicturePlan& picture);

// In square pixels and upright: fitted into the profile's box, never larger than the source, even. The frame
// rate is the source's, or a whole part of it when the profile does not allow that.
PicturePlan PlanEncodedPicture(const SourceTraits& source, const media::TransProfile& profile);

// What is known of a copied one.
PicturePlan PlanCopiedPicture(const SourceTraits& source, const CopyPlan& copy);

}  // namespace kinora::engine
