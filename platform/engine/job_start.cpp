#include "platform/engine/job_start.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/base/log.h"
#include "platform/engine/job_admission.h"
#include "platform/engine/job_folder.h"
#include "platform/engine/job_lock.h"
#include "platform/engine/source_file.h"
#include "platform/engine/stream_space.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"
#include "platform/system/spawn.h"

namespace kinora::engine {
namespace {

using base::Descriptor;

constexpr char kUnit[] = "engine/job";
constexpr char kEncoder[] = "bin/ffmpeg";
constexpr int kSourceNumber = 3;
constexpr int kFolderNumber = 4;
constexpr int kLockNumber = 5;
constexpr char kEncoderPatience[] = "25";  // seconds: a request waits for two tries

// Of memory for the largest pictures and many threads. Time is bounded by the viewer's patience.
constexpr system::ChildLimits kLimits{std::chrono::milliseconds(0), 16ULL << 30, 0, 2ULL << 30, 0};

constexpr uint64_t kLeastSeconds = 10;  // of film that must have room for a job to begin

bool CanRun(const std::string& program) {
  if (::faccessat(AT_FDCWD, program.c_str(), X_OK, AT_EACCESS) == 0) return true;
  base::Log(LOG_ERR, kUnit, program + " cannot be executed: " + std::strerror(errno));
  return false;
}

// What the stream may fill. Nothing, with a line in the log, when that is too little to go on.
std::optional<uint64_t> FindQuota(const StreamFolder& folder, const StreamPlan& plan,
                                  const std::vector<OtherJob>& others, const system::Settings& settings) {
  const uint64_t all = SpaceOfAllStreams();
  const uint64_t quota = QuotaBeside(others, all - std::min(all, SpaceOf(folder)), settings);
  const uint64_t least = static_cast<uint64_t>(plan.picture.bitrate) / 8 * kLeastSeconds;
  if (quota >= std::min(least, settings.stream_quota)) return quota;
  base::Log(LOG_ERR, kUnit, "all streams together have met their quota");
  return std::nullopt;
}

std::string Times(const SegmentGrid& grid, const EncoderRun& run) {
  std::string times;
  for (int n = run.first; n <= run.last + 1; ++n) {
    times += (times.empty() ? "" : ",") + std::to_string(Floor(grid.Start(n) * int64_t{1000}));
  }
  return times;
}

// Chunks are a second copy of the film: fragments have one half of what the stream may fill.
uint64_t QuotaOfFragments(const StreamPlan& plan, uint64_t quota) {
  return plan.delivery == Delivery::kSmooth ? quota / 2 : quota;
}

std::vector<std::string> Arguments(const StreamPlan& plan, const EncoderRun& run, int tries, uint64_t quota,
                                   const system::Settings& settings) {
  std::vector<std::string> arguments = {system::InTarget(kSupervisor),
                                        "--first",
                                        std::to_string(run.first),
                                        "--times",
                                        Times(plan.grid, run),
                                        "--run-ahead",
                                        std::to_string(settings.run_ahead_seconds),
                                        "--idle",
                                        std::to_string(settings.idle_seconds),
                                        "--patience",
                                        kEncoderPatience,
                                        "--quota",
                                        std::to_string(QuotaOfFragments(plan, quota)),
                                        "--floor",
                                        std::to_string(settings.free_space_floor),
                                        "--hardware",
                                        run.hardware ? "1" : "0",
                                        "--tries",
                                        std::to_string(tries),
                                        "--",
                                        system::InTarget(kEncoder)};
  for (std::string& argument : JobArguments(plan, run)) arguments.push_back(std::move(argument));
  return arguments;
}

JobRecord RecordOfStart(const EncoderRun& run, int tries, uint64_t quota) {
  JobRecord record;
  record.boot = BootId();
  record.first = run.first;
  record.last = run.last;
  record.newest = run.first - 1;
  record.hardware = run.hardware;
  record.tries = tries;
  record.quota = quota;
  return record;
}

}  // namespace

FragmentOutcome StartJob(const StreamFolder& folder, const StreamPlan& plan, const EncoderRun& run,
                         int tries) {
  const system::Settings settings = system::LoadSettings(system::kSettingsFile);
  if (!CanRun(system::InTarget(kSupervisor)) || !CanRun(system::InTarget(kEncoder))) {
    return FragmentOutcome::kFailed;
  }
  if (!HasSpaceBelow(folder, settings.free_space_floor)) return FragmentOutcome::kNoSpace;
  const Descriptor source = OpenSource(plan.source.identity);
  if (!source) return FragmentOutcome::kGone;
  const Descriptor work(::open(folder.WorkPath(".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!work) return FragmentOutcome::kGone;
  system::Command command;
  command.limits = kLimits;
  const Descriptor one_at_a_time = TakeAdmissionLock();
  std::vector<OtherJob> others = OtherJobs(folder.StreamId());
  if (!MakePlace(others, settings.jobs)) return FragmentOutcome::kNoJob;
  const std::optional<uint64_t> quota = FindQuota(folder, plan, others, settings);
  if (!quota) return FragmentOutcome::kNoSpace;
  const Descriptor lock = TakeJobLock(folder.WorkPath("job.lock"));
  if (!lock) return FragmentOutcome::kNoJob;
  command.arguments = Arguments(plan, run, tries, *quota, settings);
  WriteJobRecord(folder, RecordOfStart(run, tries, *quota));
  command.descriptors = {
      {source.Get(), kSourceNumber}, {work.Get(), kFolderNumber}, {lock.Get(), kLockNumber}};
  return system::SpawnDetached(command) ? FragmentOutcome::kReady : FragmentOutcome::kFailed;
}

}  // namespace kinora::engine
