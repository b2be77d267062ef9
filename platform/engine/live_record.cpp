#include "platform/engine/live_record.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <optional>

#include "platform/base/descriptor.h"
#include "platform/engine/job_record.h"
#include "platform/engine/record.h"

namespace kinora::engine {
namespace {

constexpr char kFile[] = "encoder.json";
constexpr int kVersion = 1;

std::optional<ProcessMark> ReadMark(const StreamFolder& folder) {
  const std::optional<std::string> text = folder.Read(kFile);
  if (!text) return std::nullopt;
  try {
    const Json::Value record = ParseRecord(*text, kVersion);
    if (TextIn(record, "boot") != BootId()) return std::nullopt;
    return ProcessMark{static_cast<pid_t>(NumberIn(record, "pid", 2, INT_MAX)), CountIn(record, "started")};
  } catch (const MalformedRecord&) {
    return std::nullopt;
  }
}

}  // namespace

void WriteLiveEncoder(const StreamFolder& folder, pid_t pid) {
  // One that has ended already needs no record; the caller will find that out.
  const std::optional<ProcessMark> mark = MarkOf(pid);
  if (!mark) return folder.Withdraw(kFile);
  Json::Value record(Json::objectValue);
  record["version"] = kVersion;
  record["boot"] = BootId();
  record["pid"] = mark->pid;
  record["started"] = Json::UInt64{mark->started};
  folder.Write(kFile, WriteRecord(record));
}

void KillLiveEncoder(const StreamFolder& folder) {
  const std::optional<ProcessMark> mark = ReadMark(folder);
  if (!mark) return;
  // Opened first: what is then found to be the right one stays it.
  const base::Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, mark->pid, 0)));
  if (handle && MarkOf(mark->pid) == mark)
    ::syscall(SYS_pidfd_send_signal, handle.Get(), SIGKILL, nullptr, 0);
}

}  // namespace kinora::engine
