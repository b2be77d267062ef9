#include "platform/engine/job_admission.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/base/log.h"
#include "platform/engine/job.h"
#include "platform/engine/job_end.h"
#include "platform/engine/job_folder.h"
#include "platform/engine/stream_id.h"
#include "platform/engine/stream_space.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/job";

std::vector<StreamFolder> StreamsWithJobs() {
  std::vector<StreamFolder> streams;
  for (const std::string_view type : kStreamTypes) {
    std::error_code error;
    const std::filesystem::path links = std::filesystem::path(system::kWorkspace) / type;
    for (std::filesystem::directory_iterator entry(links, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
      std::optional<StreamFolder> folder = StreamFolder::Open(std::string(type), entry->path().filename());
      if (folder && IsJobRunning(*folder)) streams.push_back(std::move(*folder));
    }
  }
  return streams;
}

// Ids are of all types together.
std::optional<StreamFolder> FindStream(const std::string& stream_id) {
  for (const std::string_view type : kStreamTypes) {
    if (std::optional<StreamFolder> folder = StreamFolder::Open(std::string(type), stream_id)) return folder;
  }
  return std::nullopt;
}

}  // namespace

int CountJobs() { return static_cast<int>(StreamsWithJobs().size()); }

std::vector<OtherJob> OtherJobs(const std::string& stream_id) {
  std::vector<OtherJob> jobs;
  for (const StreamFolder& folder : StreamsWithJobs()) {
    if (folder.StreamId() == stream_id) continue;
    const std::optional<JobRecord> record = ReadJobRecord(folder);
    const uint64_t quota = record ? record->quota : 0;
    jobs.push_back({folder.StreamId(), IdleMilliseconds(folder), quota - std::min(quota, SpaceOf(folder))});
  }
  return jobs;
}

bool MakePlace(std::vector<OtherJob>& others, unsigned int most) {
  const Admission admission = Admit(others, most);
  if (!admission.admitted) {
    base::Log(LOG_WARNING, kUnit, std::to_string(most) + " encoders are at work, no more may be");
    return false;
  }
  if (admission.ends.empty()) return true;
  const std::optional<StreamFolder> other = FindStream(admission.ends);
  if (other && !EndRunningJob(*other)) return false;
  std::erase_if(others, [&](const OtherJob& job) { return job.stream_id == admission.ends; });
  return true;
}

}  // namespace kinora::engine
