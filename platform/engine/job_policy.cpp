#include "platform/engine/job_policy.h"

#include <algorithm>

namespace kinora::engine {
namespace {

// A new encoder needs about a second for its first fragment; a running one makes as many in that time.
constexpr int kReach = 3;
// In one run: the times of its key frames are one argument.
constexpr int kMostFragments = 2000;
// A fragment is tried so often, then it rests, so that a player's own retries are no storm.
constexpr int kMostTries = 2;
constexpr int64_t kRestMs = 3000;
// A viewer who watches asks at least once in a fragment's time or three.
constexpr int64_t kLeftMs = 15'000;

bool FailedAt(const JobRecord& job, int number) {
  return job.HasFailed() && (job.first == number || job.newest + 1 == number);
}

bool IsRecent(int64_t age_ms) { return age_ms > -kRestMs && age_ms < kRestMs; }

}  // namespace

bool Covers(const JobRecord& job, int number) {
  return number > job.newest && number >= job.first && number <= job.last &&
         number - (job.newest + 1) <= kReach;
}

EncoderRun RunFrom(int number, int count, const std::vector<int>& present, bool hardware) {
  const auto next = std::upper_bound(present.begin(), present.end(), number);
  const int end = next == present.end() ? count : *next;
  return {number, std::min(end, number + kMostFragments) - 1, hardware};
}

Start DecideStart(const std::optional<LastJob>& last, int number) {
  if (!last) return {};
  const JobRecord& job = last->record;
  const bool recent = IsRecent(last->age_ms);
  if (job.end == "space" && recent) return {Start::Kind::kNoSpace, 1};
  if (job.hardware && job.end == "failed") return {Start::Kind::kGoInSoftware, 1};
  if (!FailedAt(job, number) || !recent) return {};
  // A run that has made anything has failed behind it for the first time.
  const int tries = job.newest < job.first ? job.tries : 1;
  if (tries >= kMostTries) return {Start::Kind::kGiveUp, tries};
  return {Start::Kind::kGo, tries + 1};
}

Admission Admit(const std::vector<OtherJob>& others, unsigned int most) {
  if (others.size() < most) return {true, ""};
  // One more than are allowed cannot be helped by ending one.
  const auto idlest =
      std::max_element(others.begin(), others.end(),
                       [](const OtherJob& a, const OtherJob& b) { return a.idle_ms < b.idle_ms; });
  if (others.size() > most || idlest == others.end() || idlest->idle_ms < kLeftMs) return {};
  return {true, idlest->stream_id};
}

uint64_t QuotaBeside(const std::vector<OtherJob>& others, uint64_t taken, const system::Settings& settings) {
  uint64_t room = settings.streams_quota - std::min(settings.streams_quota, taken);
  for (const OtherJob& other : others) room -= std::min(room, other.open);
  const size_t places = settings.jobs > others.size() ? settings.jobs - others.size() : 1;
  return std::min(settings.stream_quota, room / places);
}

}  // namespace kinora::engine
