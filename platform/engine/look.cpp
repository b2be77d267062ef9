#include "platform/engine/look.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstring>
#include <mutex>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/base/log.h"
#include "platform/engine/report.h"
#include "platform/system/child.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

using system::ChildResult;

constexpr char kUnit[] = "engine/look";
constexpr char kProbeProgram[] = "libexec/kinora-probe";
constexpr char kPictureProgram[] = "libexec/kinora-picture";
constexpr int kHelperDescriptor = 3;
constexpr int kNarrowestPicture = 16;
constexpr int kWidestPicture = 4096;
// Milliseconds; a header may claim anything, and others go on counting with it.
constexpr int64_t kLongestFilm = int64_t{1} << 50;

// How the helpers end (helpers/common/exit_codes.h).
constexpr int kNoMedia = 65;

constexpr system::ChildLimits kProbeLimits{std::chrono::seconds(20), 1ULL << 30, 15, 0, 1U << 20};
constexpr system::ChildLimits kPictureLimits{std::chrono::seconds(30), 1ULL << 30, 25, 0, 16U << 20};

// What a helper said of a file.
struct Answer {
  bool given = false;    // `output` holds
  bool lasting = false;  // the answer, or the refusal, will be the same as long as the file is
  std::string output;
  std::string reason;
  bool asked = true;  // false: this machine could not start the helper just now
  bool busy = false;  // nor let it come to its end, if it could
};

Answer Refusal(bool lasting, const std::string& reason) { return {false, lasting, "", reason}; }

Answer BusyRefusal(const std::string& reason, bool asked) { return {false, false, "", reason, asked, true}; }

// A FIFO or a device must not block or act when it is opened; whoever names one gets a refusal.
Answer OpenFile(const std::string& path, base::Descriptor& file) {
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) {
    return Refusal(true, "no absolute path");
  }
  file = base::Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file) {
    const bool busy = errno == EMFILE || errno == ENFILE || errno == ENOMEM;
    const std::string reason = std::string("cannot be opened: ") + std::strerror(errno);
    return busy ? BusyRefusal(reason, false) : Refusal(false, reason);
  }
  struct stat status {};
  if (::fstat(file.Get(), &status) != 0) return Refusal(false, std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return Refusal(true, "no regular file");
  return {};
}

std::string WhyNotStarted(const std::string& program) {
  if (::faccessat(AT_FDCWD, program.c_str(), X_OK, AT_EACCESS) == 0) return program + " cannot be started";
  if (errno == ENOENT || errno == ENOTDIR) return program + " is missing";
  return program + " cannot be executed: " + std::strerror(errno);
}

Answer Judge(ChildResult result, const std::string& program) {
  switch (result.end) {
    case ChildResult::End::kExited:
      if (result.status == 0) return {true, true, std::move(result.output), ""};
      if (result.status == kNoMedia)
        return Refusal(true, "no format of a film, or nothing in it to be shown");
      return Refusal(false,
                     "cannot be understood: " + program + " ended with " + std::to_string(result.status));
    case ChildResult::End::kSignalled:
      return Refusal(false, program + " was ended by signal " + std::to_string(result.status));
    case ChildResult::End::kDeadline:
      return BusyRefusal(program + " did not end in time", true);
    case ChildResult::End::kOutputLimit:
      return Refusal(false, program + " said too much");
    case ChildResult::End::kNotStarted:
      break;
  }
  const std::string reason = WhyNotStarted(program);
  base::Log(LOG_ERR, kUnit, reason);
  // A program that is there was held up by want of descriptors or processes.
  const bool there = ::faccessat(AT_FDCWD, program.c_str(), X_OK, AT_EACCESS) == 0;
  return there ? BusyRefusal(reason, false) : Refusal(false, reason);
}

// A helper that somebody killed, the kernel for want of memory perhaps, is given one more try.
Answer AskHelper(const std::string& path, std::vector<std::string> arguments,
                 const system::ChildLimits& limits) {
  base::Descriptor file;
  Answer refusal = OpenFile(path, file);
  if (!file || !refusal.reason.empty()) return refusal;
  system::Command command;
  const std::string program = arguments.front();
  command.arguments = std::move(arguments);
  command.descriptors = {{file.Get(), kHelperDescriptor}};
  command.limits = limits;
  ChildResult result = system::RunChild(command);
  if (result.end == ChildResult::End::kSignalled && result.status == SIGKILL)
    result = system::RunChild(command);
  return Judge(std::move(result), program);
}

// A file in one state of its content.
struct FileState {
  std::string path;
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  int64_t modified_ns = 0;
  int64_t changed_ns = 0;

  bool operator==(const FileState&) const = default;
};

FileState StateOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  return {path,
          status.st_dev,
          status.st_ino,
          status.st_size,
          base::NanosecondsOf(status.st_mtim),
          base::NanosecondsOf(status.st_ctim)};
}

// The last answer: who opens a stream looks at its film twice within one request, and, when it fails, asks
// why.
class LastProbe {
 public:
  std::optional<Probe> Of(const FileState& file) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (file.path.empty() || !(file == file_)) return std::nullopt;
    if (probe_.busy && Clock::now() - kept_ > kBusyFor) return std::nullopt;
    return probe_;
  }
  void Keep(const FileState& file, const Probe& probe) {
    const std::lock_guard<std::mutex> guard(mutex_);
    file_ = file;
    probe_ = probe;
    kept_ = Clock::now();
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds kBusyFor{5};

  std::mutex mutex_;
  FileState file_;
  Probe probe_;
  Clock::time_point kept_;
};

}  // namespace

Probe ProbeFile(const std::string& path) {
  static LastProbe last;
  const FileState state = StateOf(path);
  if (std::optional<Probe> known = last.Of(state)) return *std::move(known);
  const Answer answer = AskHelper(path, {system::InTarget(kProbeProgram)}, kProbeLimits);
  Probe probe{std::nullopt, answer.lasting, answer.reason, answer.busy};
  if (answer.given) {
    probe.report = ParseReport(answer.output);
    if (!probe.report) return {std::nullopt, false, "the probe's report cannot be read"};
  }
  if ((probe.report || probe.busy) && StateOf(path) == state) last.Keep(state, probe);
  return probe;
}

media::LookResult LookAt(const std::string& path) {
  using Kind = media::LookResult::Kind;
  const Probe probe = ProbeFile(path);
  if (!probe.report) return {probe.readable ? Kind::kNotAVideo : Kind::kUnreadable, {}, probe.reason};
  const Json::Value& report = *probe.report;
  const Json::Value& video = FirstTrack(report, "video");
  media::VideoFacts facts;
  facts.title = TextOf(report, "title");
  facts.container = TextOf(report, "container");
  facts.video_codec = TextOf(video, "codec");
  facts.audio_codec = TextOf(FirstTrack(report, "audio"), "codec");
  facts.duration_ms = NumberOf(report, "duration_ms", kLongestFilm);
  facts.width = static_cast<int>(NumberOf(video, "width", INT_MAX));
  facts.height = static_cast<int>(NumberOf(video, "height", INT_MAX));
  facts.bitrate = NumberOf(report, "bitrate", INT64_MAX);
  if (facts.video_codec.empty() || facts.width == 0 || facts.height == 0) {
    return {Kind::kNotAVideo, {}, "no film in it"};
  }
  return {Kind::kVideo, facts, ""};
}

Picture TakePicture(const std::string& path, int width) {
  if (width < kNarrowestPicture || width > kWidestPicture) return {"", true, true, "no such width"};
  Answer answer = AskHelper(path, {system::InTarget(kPictureProgram), std::to_string(width)}, kPictureLimits);
  return {std::move(answer.output), answer.lasting, answer.asked, answer.reason};
}

}  // namespace kinora::engine
