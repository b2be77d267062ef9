#include "platform/engine/fragment_outcome.h"

namespace kinora::engine {

FragmentOutcome OutcomeOf(const std::system_error& error) {
  if (error.code() == std::errc::no_space_on_device) return FragmentOutcome::kNoSpace;
  if (error.code() == std::errc::no_such_file_or_directory) return FragmentOutcome::kGone;
  return FragmentOutcome::kFailed;
}

}  // namespace kinora::engine
