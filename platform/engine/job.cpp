#include "platform/engine/job.h"

#include "platform/base/log.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/job";

}  // namespace

FragmentOutcome PrepareByJob(const StreamFolder&, const StreamPlan&, int) {
  base::Log(LOG_ERR, kUnit, "Films are not encoded yet");
  return FragmentOutcome::kFailed;
}

bool EndJob(const StreamFolder&) { return true; }

JobState LookAtJob(const StreamFolder&) { return {}; }

int CountJobs() { return 0; }

}  // namespace kinora::engine
