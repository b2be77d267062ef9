#include "platform/system/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>

#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/system/line_log.h"
#include "platform/system/spawn.h"

namespace kinora::system {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kUnit[] = "system/child";

struct Pipe {
  base::Descriptor read;
  base::Descriptor write;
};

// The reading end does not block.
std::optional<Pipe> MakePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  Pipe pipe{base::Descriptor(ends[0]), base::Descriptor(ends[1])};
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  return pipe;
}

// Hands what there is to read to `take`, until `take` has enough (then it returns false). Closes the
// descriptor at the end of the data.
template <typename Take>
void Drain(base::Descriptor& from, Take take) {
  std::array<char, 64 << 10> buffer;
  while (from) {
    const ssize_t got = ::read(from.Get(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno == EAGAIN) return;
    if (got <= 0) return from.Reset();
    if (!take(std::string_view(buffer.data(), static_cast<size_t>(got)))) return;
  }
}

int MillisecondsUntil(Clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 3'600'000));
}

std::string_view BaseName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// One running child and what it has said so far.
class Watch {
 public:
  Watch(const Command& command, Spawned child, base::Descriptor output, base::Descriptor errors)
      : command_(command),
        child_(std::move(child)),
        output_(std::move(output)),
        errors_(std::move(errors)),
        log_([this](const std::string& line) {
          base::Log(LOG_INFO, kUnit, std::string(BaseName(command_.arguments[0])) + ": " + line);
        }) {}

  ChildResult UntilItsEnd() {
    const Clock::time_point deadline = Clock::now() + command_.limits.deadline;
    while (!HasEnded(MillisecondsUntil(deadline))) {
      if (!Collect()) {
        result_.end = ChildResult::End::kOutputLimit;
        break;
      }
      if (Clock::now() >= deadline) {
        result_.end = ChildResult::End::kDeadline;
        break;
      }
    }
    // Also after a normal end: whoever it has left behind goes with it. Not reaped yet, the group's number
    // cannot be anybody else's.
    ::kill(-child_.pid, SIGKILL);
    const bool killed = result_.end != ChildResult::End::kNotStarted;
    Reap();
    if (!killed && !Collect()) result_.end = ChildResult::End::kOutputLimit;
    log_.Finish();
    return std::move(result_);
  }

 private:
  // Waits until the child has ended, has said something, or the time is up.
  bool HasEnded(int milliseconds) {
    std::array<pollfd, 3> events{
        {{child_.handle.Get(), POLLIN, 0}, {output_.Get(), POLLIN, 0}, {errors_.Get(), POLLIN, 0}}};
    return ::poll(events.data(), events.size(), milliseconds) > 0 && events[0].revents != 0;
  }

  // false when the output has become too long.
  bool Collect() {
    Drain(errors_, [this](std::string_view bytes) {
      log_.Feed(bytes);
      return false;  // one read at a time: standard error has no limit of its own
    });
    bool fits = true;
    Drain(output_, [this, &fits](std::string_view bytes) {
      const size_t room = command_.limits.output - result_.output.size();
      result_.output += bytes.substr(0, room);
      return fits = bytes.size() <= room;
    });
    return fits;
  }

  void Reap() {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(child_.pid), &info, WEXITED) != 0) {
      if (errno == EINTR) continue;
      base::Log(LOG_ERR, kUnit, "lost the status of " + command_.arguments[0] + ": " + std::strerror(errno));
      return;
    }
    result_.status = info.si_status;
    if (result_.end != ChildResult::End::kNotStarted) return;
    result_.end = info.si_code == CLD_EXITED ? ChildResult::End::kExited : ChildResult::End::kSignalled;
  }

  const Command& command_;
  Spawned child_;
  base::Descriptor output_;
  base::Descriptor errors_;
  LineLog log_;
  ChildResult result_;
};

}  // namespace

ChildResult RunChild(const Command& command) {
  std::optional<Pipe> output = MakePipe();
  std::optional<Pipe> errors = MakePipe();
  if (!output || !errors) {
    base::Log(LOG_ERR, kUnit, std::string("cannot start a program: ") + std::strerror(errno));
    return {};
  }
  std::optional<Spawned> child = Spawn(command, output->write.Get(), errors->write.Get());
  if (!child) return {};
  output->write.Reset();
  errors->write.Reset();
  return Watch(command, std::move(*child), std::move(output->read), std::move(errors->read)).UntilItsEnd();
}

}  // namespace kinora::system
