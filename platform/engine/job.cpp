#include "platform/engine/job.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/engine/job_end.h"
#include "platform/engine/job_folder.h"
#include "platform/engine/job_policy.h"
#include "platform/engine/job_start.h"

namespace kinora::engine {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kUnit[] = "engine/job";
constexpr char kSoftwareMark[] = "software";  // in the stream's folder: the hardware has failed
constexpr std::chrono::seconds kPatience{50};
constexpr std::chrono::milliseconds kStep{10};

// One request for one fragment.
class Request {
 public:
  Request(const StreamFolder& folder, const StreamPlan& plan, int number)
      : folder_(folder), plan_(plan), number_(number) {}

  FragmentOutcome Serve() {
    while (true) {
      const std::optional<FragmentOutcome> outcome = EnsureJob();
      if (outcome) return *outcome;
      if (Wait()) return FragmentOutcome::kReady;
      if (Clock::now() >= deadline_) return GiveUp("is not ready in time", FragmentOutcome::kFailed);
    }
  }

 private:
  // Sees to it that somebody makes the fragment. Gives the outcome when there is nothing to wait for.
  std::optional<FragmentOutcome> EnsureJob() {
    const base::Descriptor deciding = folder_.Lock();
    if (!deciding) return FragmentOutcome::kGone;
    if (!waited_) NoteWanted(folder_, number_);
    waiting_.Reset();
    if (HasFragment(folder_, number_)) return FragmentOutcome::kReady;
    if (IsJobRunning(folder_)) {
      if (IsCovered()) {
        waiting_ = WaitForJob(folder_);
        return std::nullopt;
      }
      // Players ask for several fragments at once: what they still wait for comes first. A viewer who has
      // gone elsewhere does not wait any more.
      if (IsJobWaitedFor(folder_)) return std::nullopt;
      if (!EndRunningJob(folder_)) return FragmentOutcome::kFailed;
      if (HasFragment(folder_, number_)) return FragmentOutcome::kReady;
    }
    return Start();
  }

  // A supervisor that has just been started has left the record of its starter: it holds as well.
  bool IsCovered() const {
    const std::optional<JobRecord> record = ReadJobRecord(folder_);
    return record && Covers(*record, number_);
  }

  std::optional<FragmentOutcome> Start() {
    NoteWanted(folder_, number_);
    const engine::Start start = DecideStart(ReadLastJob(folder_), number_);
    switch (start.kind) {
      case Start::Kind::kNoSpace:
        return GiveUp("has no space", FragmentOutcome::kNoSpace);
      case Start::Kind::kGiveUp:
        return GiveUp("cannot be encoded: " + LastWords(), FragmentOutcome::kFailed);
      case Start::Kind::kGoInSoftware:
        base::Log(
            LOG_WARNING, kUnit,
            "the hardware fails, stream " + folder_.StreamId() + " goes on in software: " + LastWords());
        folder_.Write(kSoftwareMark, "");
        break;
      case Start::Kind::kGo:
        break;
    }
    const bool hardware = plan_.hardware && !folder_.Read(kSoftwareMark);
    const EncoderRun run = RunFrom(number_, plan_.grid.Count(), PresentFragments(folder_), hardware);
    const FragmentOutcome outcome = StartJob(folder_, plan_, run, start.tries);
    if (outcome != FragmentOutcome::kReady) return GiveUp("has no encoder", outcome);
    waiting_ = WaitForJob(folder_);
    return std::nullopt;
  }

  // Until the fragment is there (true), or something has to be done about it, or it has taken too long.
  bool Wait() {
    waited_ = true;
    while (Clock::now() < deadline_) {
      if (HasFragment(folder_, number_)) return true;
      std::this_thread::sleep_for(kStep);
      if (!IsInGoodHands()) return HasFragment(folder_, number_);
    }
    return false;
  }

  // The job is making the fragment, or makes something else first.
  bool IsInGoodHands() const {
    if (!IsJobRunning(folder_)) return false;
    return waiting_ ? IsCovered() : !IsCovered() && IsJobWaitedFor(folder_);
  }

  std::string LastWords() const {
    const std::optional<JobRecord> record = ReadJobRecord(folder_);
    return record && !record->words.empty() ? record->words : "the encoder was ended";
  }

  FragmentOutcome GiveUp(const std::string& why, FragmentOutcome outcome) const {
    base::Log(LOG_ERR, kUnit,
              "fragment " + std::to_string(number_) + " of stream " + folder_.StreamId() + " " + why);
    return outcome;
  }

  const StreamFolder& folder_;
  const StreamPlan& plan_;
  const int number_;
  const Clock::time_point deadline_ = Clock::now() + kPatience;
  bool waited_ = false;
  base::Descriptor waiting_;  // held while the job at work is going to make the fragment
};

}  // namespace

FragmentOutcome PrepareByJob(const StreamFolder& folder, const StreamPlan& plan, int number) {
  try {
    if (HasFragment(folder, number)) {
      NoteWanted(folder, number);
      return FragmentOutcome::kReady;
    }
    return Request(folder, plan, number).Serve();
  } catch (const std::system_error& error) {
    base::Log(LOG_ERR, kUnit, error.what());
    return OutcomeOf(error);
  } catch (const std::invalid_argument& error) {  // the plan
    base::Log(LOG_ERR, kUnit, "stream " + folder.StreamId() + " cannot be encoded: " + error.what());
    return FragmentOutcome::kFailed;
  }
}

bool EndJob(const StreamFolder& folder) { return EndRunningJob(folder); }

JobState LookAtJob(const StreamFolder& folder) {
  JobState state;
  state.running = IsJobRunning(folder);
  const std::optional<JobRecord> record = ReadJobRecord(folder);
  if (!record) return state;
  state.first = record->first;
  state.newest = record->newest;
  if (!state.running) return state;
  state.pid = record->encoder.pid;
  state.stopped = record->stopped;
  return state;
}

}  // namespace kinora::engine
