// Watches over one encoder: publishes its fragments, stops and continues it, drops what the viewer has left
// behind, ends it.
#pragma once

#include <chrono>
#include <string>

#include "helpers/job/encoder.h"
#include "helpers/job/options.h"
#include "helpers/job/work_folder.h"

namespace kinora::helper {

// The record job.json: who is at work, how far, and in the end how it ended. Members: "version" (1), "boot"
// (the machine's boot id), "pid" and "started" (the supervisor's, in clock ticks after the boot), "encoder"
// {"pid", "started"}, "first", "last", "newest", "stopped", "hardware", "tries", "quota", "end", "words" (the
// encoder's last ones). "end" is empty while it works, then
//   done     all fragments of the run are there
//   idle     nobody asked any more
//   asked    somebody wished it
//   gone     the folder was removed
//   space    the volume is full
//   failed   the encoder failed, or made what is no fragment
class Supervisor {
 public:
  // `source` and `folder` stay the caller's. Throws std::system_error.
  Supervisor(const JobOptions& options, int source, int folder);

  // Until the job has ended. SIGTERM, SIGINT and SIGHUP must be blocked: they end it.
  void Work();

 private:
  using Clock = std::chrono::steady_clock;

  void Wait();
  void LookOnce();  // at everything, once; sets end_ when it is over
  void NoticeWanted();
  bool IsIdle();
  bool HasNext(bool ended) const;  // a whole fragment to be published
  void PublishMade(bool ended);
  void PublishNext();
  void MakeRoom();
  void Pace();
  bool EncoderHangs();
  void JudgeEnd();  // of an encoder that has ended by itself
  void TryToRecord();
  void Record();

  const JobOptions& options_;
  WorkFolder folder_;
  Encoder encoder_;
  base::Descriptor signals_;
  base::Descriptor changes_;  // empty where the kernel gives none: then we look more often
  Progress progress_;
  WorkFolder::Wanted wanted_;
  Clock::time_point wanted_since_ = Clock::now();
  HangWatch hang_watch_;
  std::string end_;
  std::string words_;
  std::string recorded_;
};

}  // namespace kinora::helper
