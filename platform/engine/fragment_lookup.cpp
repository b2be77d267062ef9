#include "platform/engine/fragment_lookup.h"

#include "platform/engine/smooth_address.h"

namespace kinora::engine {

std::optional<FragmentId> FindFragment(const StreamPlan& plan, std::string_view text) {
  if (plan.delivery == Delivery::kSmooth) {
    const std::optional<SmoothAddress> address = ParseSmoothAddress(text);
    return address ? FindChunk(plan, *address) : std::nullopt;
  }
  const std::optional<FragmentId> id = ParseFragmentId(text);
  return id && plan.HasFragment(*id) ? id : std::nullopt;
}

}  // namespace kinora::engine
