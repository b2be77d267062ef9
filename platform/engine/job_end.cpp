#include "platform/engine/job_end.h"

#include <chrono>
#include <csignal>
#include <optional>
#include <thread>

#include "platform/base/log.h"
#include "platform/engine/job_folder.h"
#include "platform/engine/live_record.h"

namespace kinora::engine {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kUnit[] = "engine/job";
constexpr std::chrono::seconds kPoliteness{3};
constexpr std::chrono::seconds kPatience{15};
constexpr std::chrono::milliseconds kStep{5};

}  // namespace

// Where it makes files politely first, so that it takes its unfinished files away. A supervisor that has just
// been started may not have said yet who it is. One whose record somebody has torn is not to be found: it
// ends when its run's folder goes.
bool EndRunningJob(const StreamFolder& folder) {
  const Clock::time_point begin = Clock::now();
  std::optional<ProcessMark> asked;
  while (IsJobRunning(folder)) {
    const Clock::duration waited = Clock::now() - begin;
    if (waited > kPatience) {
      base::Log(LOG_ERR, kUnit, "the job of stream " + folder.StreamId() + " does not end");
      return false;
    }
    KillLiveEncoder(folder);
    const std::optional<JobRecord> record = ReadJobRecord(folder);
    if (!record) DropRuns(folder);
    if (record && record->supervisor.pid != 0) {
      if (waited > kPoliteness) {
        SignalSupervisor(*record, SIGKILL);
      } else if (asked != record->supervisor && SignalSupervisor(*record, SIGTERM)) {
        asked = record->supervisor;
      }
    }
    std::this_thread::sleep_for(kStep);
  }
  return true;
}

}  // namespace kinora::engine
