// The record of a stream's job, work/job.json, as requests read it. The supervisor writes it
// (helpers/job/supervisor.h has the members); who starts one leaves a record without processes.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kinora::engine {

inline constexpr char kSupervisor[] = "libexec/kinora-job";  // in the package's target

// A process that no other one can be taken for: numbers are used again, but not with the same start.
struct ProcessMark {
  pid_t pid = 0;         // 0: not started yet
  uint64_t started = 0;  // clock ticks after the boot

  bool operator==(const ProcessMark&) const = default;
};

struct JobRecord {
  std::string boot;  // the machine's boot id
  ProcessMark supervisor;
  ProcessMark encoder;
  int first = 0;
  int last = 0;
  int newest = -1;
  bool stopped = false;
  bool hardware = false;
  int tries = 1;
  uint64_t quota = 0;  // bytes that the stream may fill while this job is at work
  std::string end;     // empty: at work, or killed
  std::string words;   // the encoder's last ones

  bool HasFailed() const { return end == "failed" || end.empty(); }

  bool operator==(const JobRecord&) const = default;
};

std::string ToJsonText(const JobRecord& record);
// Nothing when the text is no record.
std::optional<JobRecord> ParseJobRecord(const std::string& text);

// This machine's boot.
std::string BootId();
// Of a process that is there.
std::optional<ProcessMark> MarkOf(pid_t pid);
// Whether the supervisor of the record is still there, is the one that is meant, and is a supervisor.
bool IsAlive(const JobRecord& record);
// Sends it the signal; false when it is not there.
bool SignalSupervisor(const JobRecord& record, int signal);

}  // namespace kinora::engine
