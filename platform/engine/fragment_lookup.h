// The fragment that a request names, in the form that the plan's way of delivery has for it.
#pragma once

#include <optional>
#include <string_view>

#include "platform/engine/fragment_id.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// Nothing when the text is of another form, or the plan has no such fragment.
std::optional<FragmentId> FindFragment(const StreamPlan& plan, std::string_view text);

}  // namespace kinora::engine
