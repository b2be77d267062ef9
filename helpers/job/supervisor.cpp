#include "helpers/job/supervisor.h"

#include <json/json.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <sstream>
#include <system_error>

namespace kinora::helper {
namespace {

constexpr int kVersion = 1;
constexpr int kCalmMs = 500;  // between two looks when nothing is reported
constexpr int kWithoutReportsMs = 40;
constexpr int kStartTimeField = 22;  // of /proc/<pid>/stat

// When the process was started, in clock ticks after the boot. 0: not known.
uint64_t StartTime(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  std::getline(file, line);
  // The second field is a name in parentheses that may hold anything.
  std::istringstream fields(line.substr(std::min(line.rfind(')'), line.size() - 1) + 1));
  std::string field;
  for (int n = 3; n <= kStartTimeField; ++n) fields >> field;
  return std::strtoull(field.c_str(), nullptr, 10);
}

std::string BootId() {
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::string id;
  file >> id;
  return id;
}

Json::Value ProcessRecord(pid_t pid) {
  Json::Value record;
  record["pid"] = pid;
  record["started"] = Json::UInt64{StartTime(pid)};
  return record;
}

int64_t Milliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

base::Descriptor EndingSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&signals, number);
  base::Descriptor descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!descriptor) throw std::system_error(errno, std::generic_category(), "no signals");
  return descriptor;
}

// The encoder begins and renames files in the run's folder; a request writes "wanted".
base::Descriptor Changes(const WorkFolder& folder) {
  base::Descriptor changes(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!changes) return {};
  const auto watch = [&changes](int number, uint32_t events) {
    const std::string path = "/proc/self/fd/" + std::to_string(number);
    return ::inotify_add_watch(changes.Get(), path.c_str(), events) >= 0;
  };
  const bool watched = watch(folder.RunFolder(), IN_CREATE | IN_MOVED_TO) &&
                       watch(folder.Number(), IN_MODIFY | IN_DELETE | IN_DELETE_SELF);
  return watched ? std::move(changes) : base::Descriptor();
}

void Swallow(int descriptor) {
  std::array<char, 4096> buffer;
  while (::read(descriptor, buffer.data(), buffer.size()) > 0) {
  }
}

}  // namespace

Supervisor::Supervisor(const JobOptions& options, int source, int folder)
    : options_(options),
      folder_(folder),
      encoder_(options.encoder, source, folder_.RunFolder()),
      signals_(EndingSignals()),
      changes_(Changes(folder_)),
      hang_watch_(options.patience_ms, Milliseconds()) {
  progress_.newest = options.run.first - 1;
  progress_.wanted = options.run.first;
}

void Supervisor::Work() {
  Record();
  while (end_.empty()) {
    Wait();
    try {
      LookOnce();
    } catch (const std::system_error& error) {
      end_ = error.code() == std::errc::no_space_on_device ? "space" : "failed";
      words_ = error.what();
    }
    if (!end_.empty()) {
      // On a full disk there is room for the last record then.
      encoder_.Kill();
      folder_.DropUnpublished();
    }
    TryToRecord();
  }
}

// What cannot be recorded is told by the lock alone.
void Supervisor::TryToRecord() {
  try {
    if (!folder_.IsGone()) Record();
  } catch (const std::system_error&) {
    recorded_.clear();
  }
}

void Supervisor::Wait() {
  std::array<pollfd, 4> events{{{encoder_.Handle(), POLLIN, 0},
                                {encoder_.Words(), POLLIN, 0},
                                {signals_.Get(), POLLIN, 0},
                                {changes_.Get(), POLLIN, 0}}};
  ::poll(events.data(), events.size(), changes_ ? kCalmMs : kWithoutReportsMs);
  if (events[1].revents != 0) encoder_.Listen();
  if (events[3].revents != 0) Swallow(changes_.Get());
  if (events[2].revents != 0) end_ = "asked";
}

void Supervisor::LookOnce() {
  if (!end_.empty()) return;
  // Asked first: what it has made by its end is there by then.
  const bool ended = encoder_.HasEnded();
  if (folder_.IsGone()) {
    end_ = "gone";
    return;
  }
  NoticeWanted();
  PublishMade(ended);
  if (!end_.empty()) return;
  if (progress_.newest == options_.run.last) {
    end_ = "done";
  } else if (ended && !HasNext(ended)) {
    JudgeEnd();
  } else if (folder_.FreeSpace() < options_.floor) {
    end_ = "space";
  } else if (EncoderHangs()) {
    end_ = "failed";
    words_ = "the encoder hangs";
  } else if (IsIdle()) {
    end_ = "idle";
  }
}

// The time of the file only tells that there was another request: the clock may jump.
void Supervisor::NoticeWanted() {
  const WorkFolder::Wanted wanted = folder_.ReadWanted();
  if (wanted == wanted_) return;
  wanted_ = wanted;
  wanted_since_ = Clock::now();
  if (wanted.number >= 0) progress_.wanted = wanted.number;
}

// Who waits for a fragment that takes long has not gone away.
bool Supervisor::IsIdle() {
  if (Clock::now() - wanted_since_ < std::chrono::milliseconds(options_.idle_ms)) return false;
  if (!folder_.IsWaitedFor()) return true;
  wanted_since_ = Clock::now();
  return false;
}

// An encoder writes a fragment when it is through with it, and then its list: nobody need wait until the next
// one is begun, which is as late as that one's end. The last fragment counts only if the encoder ended well:
// it finishes the file in any case, and the list with it.
bool Supervisor::HasNext(bool ended) const {
  const int next = progress_.newest + 1;
  if (next > options_.run.last || !folder_.IsMade(next)) return false;
  return folder_.IsCut(next) || folder_.IsBegun(next + 1) || (ended && encoder_.Succeeded());
}

// An encoder may be faster than we can stop it: what it has made beyond the lead waits in the run's folder.
void Supervisor::PublishMade(bool ended) {
  Pace();
  while (end_.empty() && !progress_.stopped && HasNext(ended)) {
    PublishNext();
    Pace();
  }
}

void Supervisor::PublishNext() {
  const int number = progress_.newest + 1;
  if (folder_.FreeSpace() < options_.floor) {
    end_ = "space";
    return;
  }
  MakeRoom();
  const std::string fault = folder_.Publish(number);
  if (!fault.empty()) {
    end_ = "failed";
    words_ = "fragment " + std::to_string(number) + " is damaged: " + fault;
    return;
  }
  progress_.newest = number;
}

void Supervisor::MakeRoom() {
  for (const std::string& name : ToDrop(progress_, options_.limits, folder_.Published())) folder_.Drop(name);
}

void Supervisor::Pace() {
  MakeRoom();
  progress_.waited_for = folder_.IsWaitedFor();
  progress_.stopped = !MayRun(options_.run, progress_, options_.limits, folder_.Published());
  if (progress_.stopped) {
    encoder_.Stop();
  } else {
    encoder_.Continue();
  }
}

bool Supervisor::EncoderHangs() {
  return hang_watch_.Hangs(Milliseconds(), folder_.Unpublished(), !progress_.stopped);
}

void Supervisor::JudgeEnd() {
  end_ = encoder_.Said().find("No space left on device") == std::string::npos ? "failed" : "space";
  words_ = encoder_.Said();
}

void Supervisor::Record() {
  Json::Value record = ProcessRecord(::getpid());
  record["version"] = kVersion;
  record["boot"] = BootId();
  record["encoder"] = ProcessRecord(encoder_.Pid());
  record["first"] = options_.run.first;
  record["last"] = options_.run.last;
  record["newest"] = progress_.newest;
  record["stopped"] = progress_.stopped;
  record["hardware"] = options_.hardware;
  record["tries"] = options_.tries;
  record["quota"] = Json::UInt64{options_.limits.quota};
  record["end"] = end_;
  record["words"] = words_;
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  const std::string text = Json::writeString(builder, record);
  if (text == recorded_) return;
  folder_.WriteRecord(text);
  recorded_ = text;
}

}  // namespace kinora::helper
