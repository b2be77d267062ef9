#include "entry/stream_faults.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "platform/base/descriptor.h"
#include "platform/engine/fragment_lookup.h"
#include "platform/engine/job.h"
#include "platform/engine/source_traits.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_opening.h"
#include "platform/engine/stream_plan.h"
#include "platform/engine/stream_space.h"

namespace kinora::entry {
namespace {

constexpr uint64_t kSpaceOfARecord = 64U << 10;  // bytes, more than enough

void LookAtSource(const std::string& path, StreamFaults& faults) {
  const base::Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file) return;
  faults.source_gone = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
  faults.exhausted = errno == EMFILE || errno == ENFILE || errno == ENOMEM;
  faults.source_unreadable = !faults.source_gone && !faults.exhausted;
}

// What has become of the film that a stream was planned for.
void LookAtPlannedSource(const engine::SourceIdentity& source, StreamFaults& faults) {
  LookAtSource(source.path, faults);
  faults.source_replaced = !faults.source_gone && !faults.source_unreadable && !faults.exhausted &&
                           engine::IdentifySource(source.path) != source;
}

bool AreJobsTaken(unsigned int most_jobs) { return engine::CountJobs() >= static_cast<int>(most_jobs); }

void LookAtEncoder(const engine::StreamFolder& folder, unsigned int most_jobs, StreamFaults& faults) {
  faults.not_ready = engine::LookAtJob(folder).running;
  faults.jobs_taken = !faults.not_ready && AreJobsTaken(most_jobs);
}

}  // namespace

StreamFaults FindRawFaults(const std::string& record) {
  StreamFaults faults;
  const base::Descriptor file(open(record.c_str(), O_RDONLY | O_CLOEXEC));
  char path[2048];
  const ssize_t length = file ? read(file.Get(), path, sizeof path) : 0;
  if (length > 0) {
    LookAtSource(std::string(path, static_cast<size_t>(length)), faults);
  } else {
    faults.stream_gone = true;
  }
  return faults;
}

StreamFaults FindAdaptiveFaults(const std::string& type, const std::string& stream_id,
                                const std::string& fragment, const system::Settings& settings) {
  StreamFaults faults;
  const std::optional<engine::StreamFolder> folder = engine::StreamFolder::Open(type, stream_id);
  const std::optional<engine::StreamPlan> plan = folder ? engine::ReadPlan(*folder) : std::nullopt;
  if (!plan) {
    faults.stream_gone = true;
    return faults;
  }
  LookAtPlannedSource(plan->source.identity, faults);
  const std::optional<engine::FragmentId> part = engine::FindFragment(*plan, fragment);
  faults.part_unknown = !part;
  faults.volume_full =
      !engine::HasSpaceBelow(*folder, std::max(settings.free_space_floor, engine::kSpaceOfAFragment));
  if (plan->video == engine::VideoWay::kEncode && part && !part->audio_track) {
    LookAtEncoder(*folder, settings.jobs, faults);
  }
  return faults;
}

StreamFaults FindLiveFaults(const std::string& stream_id, int64_t seek, const system::Settings& settings) {
  StreamFaults faults;
  const std::optional<engine::StreamFolder> folder = engine::StreamFolder::Open("WEBM", stream_id);
  const std::optional<engine::StreamPlan> plan = folder ? engine::ReadPlan(*folder) : std::nullopt;
  if (!plan) {
    faults.stream_gone = true;
    return faults;
  }
  LookAtPlannedSource(plan->source.identity, faults);
  faults.part_unknown = engine::MediaTime(seek) >= plan->grid.End(plan->grid.Count() - 1);
  // The record of who encodes is small, but there must be room for it.
  faults.volume_full = !engine::HasSpaceBelow(*folder, kSpaceOfARecord);
  // Its own encoder makes way.
  faults.jobs_taken = !engine::LookAtJob(*folder).running && AreJobsTaken(settings.jobs);
  return faults;
}

}  // namespace kinora::entry
