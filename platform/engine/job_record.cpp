#include "platform/engine/job_record.h"

#include <json/json.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "platform/base/descriptor.h"
#include "platform/engine/record.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

constexpr int kVersion = 1;
constexpr int64_t kMostFragments = 1'000'000;
constexpr int kStartTimeField = 22;  // of /proc/<pid>/stat
constexpr int kFirstFieldBehindName = 3;

Json::Value ToJson(const ProcessMark& mark) {
  Json::Value value;
  value["pid"] = mark.pid;
  value["started"] = Json::UInt64{mark.started};
  return value;
}

ProcessMark MarkFrom(const Json::Value& value) {
  return {static_cast<pid_t>(NumberIn(value, "pid", 0, INT_MAX)), CountIn(value, "started")};
}

int SmallNumberIn(const Json::Value& value, const char* key) {
  return static_cast<int>(NumberIn(value, key, -1, kMostFragments));
}

JobRecord RecordFrom(const Json::Value& value) {
  JobRecord record;
  record.boot = TextIn(value, "boot");
  record.supervisor = MarkFrom(value);
  record.encoder = MarkFrom(ObjectIn(value, "encoder"));
  record.first = SmallNumberIn(value, "first");
  record.last = SmallNumberIn(value, "last");
  record.newest = SmallNumberIn(value, "newest");
  record.stopped = FlagIn(value, "stopped");
  record.hardware = FlagIn(value, "hardware");
  record.tries = SmallNumberIn(value, "tries");
  record.end = TextIn(value, "end");
  record.quota = CountIn(value, "quota");
  record.words = TextIn(value, "words");
  return record;
}

// Whoever writes to the work folder could name any process of this account.
bool IsSupervisor(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline");
  std::string program;
  std::getline(file, program, '\0');
  return program == system::InTarget(kSupervisor);
}

}  // namespace

std::string ToJsonText(const JobRecord& record) {
  Json::Value value = ToJson(record.supervisor);
  value["version"] = kVersion;
  value["boot"] = record.boot;
  value["encoder"] = ToJson(record.encoder);
  value["first"] = record.first;
  value["last"] = record.last;
  value["newest"] = record.newest;
  value["stopped"] = record.stopped;
  value["hardware"] = record.hardware;
  value["tries"] = record.tries;
  value["quota"] = Json::UInt64{record.quota};
  value["end"] = record.end;
  value["words"] = record.words;
  return WriteRecord(value);
}

std::optional<JobRecord> ParseJobRecord(const std::string& text) {
  try {
    return RecordFrom(ParseRecord(text, kVersion));
  } catch (const MalformedRecord&) {
    return std::nullopt;
  }
}

std::string BootId() {
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::string id;
  file >> id;
  return id;
}

std::optional<ProcessMark> MarkOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  // The second field is a name in parentheses that may hold anything.
  const size_t name_end = line.rfind(')');
  if (name_end == std::string::npos) return std::nullopt;
  std::istringstream fields(line.substr(name_end + 1));
  std::string field;
  for (int n = kFirstFieldBehindName; n <= kStartTimeField; ++n) fields >> field;
  return ProcessMark{pid, std::strtoull(field.c_str(), nullptr, 10)};
}

bool IsAlive(const JobRecord& record) {
  return record.supervisor.pid > 1 && record.boot == BootId() &&
         MarkOf(record.supervisor.pid) == record.supervisor && IsSupervisor(record.supervisor.pid);
}

bool SignalSupervisor(const JobRecord& record, int signal) {
  if (record.supervisor.pid <= 1) return false;
  // Opened first: what is then found to be the right one stays it.
  const base::Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, record.supervisor.pid, 0)));
  if (!handle || !IsAlive(record)) return false;
  return ::syscall(SYS_pidfd_send_signal, handle.Get(), signal, nullptr, 0) == 0;
}

}  // namespace kinora::engine
