#include "platform/engine/live_encoder.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

#include "platform/base/log.h"

namespace kinora::engine {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char kUnit[] = "engine/live_encoder";
constexpr int kMostLooks = 100;  // at what it has said last

struct Pipe {
  base::Descriptor read;  // does not block
  base::Descriptor write;
};

Pipe MakePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  Pipe pipe{base::Descriptor(ends[0]), base::Descriptor(ends[1])};
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  return pipe;
}

int Until(Clock::time_point end) {
  return static_cast<int>(std::max<int64_t>(0, std::chrono::ceil<milliseconds>(end - Clock::now()).count()));
}

}  // namespace

std::shared_ptr<LiveEncoder> LiveEncoder::Start(const system::Command& command, const std::string& stream_id,
                                                milliseconds patience) {
  Pipe output = MakePipe();
  Pipe errors = MakePipe();
  if (!output.read || !errors.read) {
    base::Log(LOG_ERR, kUnit, std::string("no pipe for an encoder: ") + std::strerror(errno));
    return nullptr;
  }
  std::optional<system::Spawned> child = system::Spawn(command, output.write.Get(), errors.write.Get());
  if (!child) return nullptr;
  return std::shared_ptr<LiveEncoder>(new LiveEncoder(stream_id, patience, std::move(*child),
                                                      std::move(output.read), std::move(errors.read)));
}

LiveEncoder::LiveEncoder(std::string stream_id, milliseconds patience, system::Spawned child,
                         base::Descriptor output, base::Descriptor errors)
    : stream_id_(std::move(stream_id)),
      patience_(patience),
      child_(std::move(child)),
      output_(std::move(output)),
      errors_(std::move(errors)),
      log_([this](const std::string& line) {
        last_words_ = line;
        base::Log(LOG_INFO, kUnit, "ffmpeg: " + line);
      }) {}

LiveEncoder::~LiveEncoder() { End(); }

bool LiveEncoder::WaitForBytes() {
  if (!output_) return false;
  const short events = WaitForEvents();
  if ((events & POLLIN) != 0) return true;
  if (events != 0 && Finish() == 0) Complain("has said nothing");
  return false;
}

int LiveEncoder::Read(char* buffer, unsigned int size) {
  while (output_) {
    const ssize_t got = ::read(output_.Get(), buffer, size);
    if (got > 0 || size == 0) return static_cast<int>(got);
    if (got == 0) return Finish();
    if (errno == EINTR || (errno == EAGAIN && WaitForEvents() != 0)) continue;
    break;
  }
  End();
  return -1;
}

void LiveEncoder::End() {
  if (!output_) return;
  output_.Reset();
  // Not reaped yet, so the group's number cannot be anybody else's.
  ::kill(-child_.pid, SIGKILL);
  while (::waitpid(child_.pid, nullptr, 0) < 0 && errno == EINTR) {
  }
  errors_.Reset();
  log_.Finish();
}

// What has happened to standard output; 0, with a line in the log, when that was nothing for too long.
short LiveEncoder::WaitForEvents() {
  const Clock::time_point end = Clock::now() + patience_;
  while (true) {
    std::array<pollfd, 2> events{{{output_.Get(), POLLIN, 0}, {errors_ ? errors_.Get() : -1, POLLIN, 0}}};
    const int got = ::poll(events.data(), events.size(), Until(end));
    if (got < 0 && errno != EINTR) break;
    // One that waits for room to complain in delivers nothing.
    if (got > 0 && events[1].revents != 0) TakeErrors();
    if (got > 0 && events[0].revents != 0) return events[0].revents;
    if (Clock::now() >= end) break;
  }
  Complain("delivers nothing");
  End();
  return 0;
}

// false when there is nothing more just now.
bool LiveEncoder::TakeErrors() {
  std::array<char, 4096> words{};
  const ssize_t got = errors_ ? ::read(errors_.Get(), words.data(), words.size()) : -1;
  if (got > 0) log_.Feed({words.data(), static_cast<size_t>(got)});
  if (got == 0) errors_.Reset();
  return got > 0;
}

// Whoever has closed his standard output is about to end; how, tells whether that was the film's end.
int LiveEncoder::Finish() {
  siginfo_t info{};
  const bool ended =
      EndsByItself() && ::waitid(P_PID, static_cast<id_t>(child_.pid), &info, WEXITED | WNOWAIT) == 0;
  for (int look = 0; ended && look < kMostLooks && TakeErrors(); ++look) {
  }
  End();
  if (ended && info.si_code == CLD_EXITED && info.si_status == 0) return 0;
  const std::string how = !ended ? "does not end"
                          : info.si_code == CLD_EXITED
                              ? "failed with " + std::to_string(info.si_status)
                              : "was ended by signal " + std::to_string(info.si_status);
  Complain(how + (last_words_.empty() ? "" : ": " + last_words_));
  return -1;
}

bool LiveEncoder::EndsByItself() {
  const Clock::time_point end = Clock::now() + patience_;
  while (true) {
    std::array<pollfd, 2> events{
        {{child_.handle.Get(), POLLIN, 0}, {errors_ ? errors_.Get() : -1, POLLIN, 0}}};
    const int got = ::poll(events.data(), events.size(), Until(end));
    if (got > 0 && events[0].revents != 0) return true;
    if (got > 0) TakeErrors();
    if ((got < 0 && errno != EINTR) || Clock::now() >= end) return false;
  }
}

void LiveEncoder::Complain(const std::string& what) const {
  base::Log(LOG_ERR, kUnit, "the encoder of stream " + stream_id_ + " " + what);
}

}  // namespace kinora::engine
