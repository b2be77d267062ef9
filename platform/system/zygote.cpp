#include "platform/system/zygote.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "platform/base/descriptor.h"
#include "platform/base/handover.h"
#include "platform/base/log.h"
#include "platform/system/line_log.h"

namespace kinora::system {
namespace {

using Clock = std::chrono::steady_clock;
using base::Descriptor;

constexpr char kUnit[] = "system/zygote";

// Does not wait: where too many wait already there is no zygote for us.
Descriptor Connect(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return {};
  std::memcpy(address.sun_path, path.c_str(), path.size());
  Descriptor connection(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!connection) return {};
  const bool connected =
      ::connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  return connected ? std::move(connection) : Descriptor();
}

// What the run says on standard error. A pipe holds more than a helper has to say: it is read afterwards.
struct Errors {
  Descriptor read;
  Descriptor write;

  bool Open() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return false;
    read = Descriptor(ends[0]);
    write = Descriptor(ends[1]);
    return true;
  }
  void Log(const std::string& program) const {
    LineLog lines([&program](const std::string& line) { base::Log(LOG_INFO, kUnit, program + ": " + line); });
    std::array<char, 4096> buffer{};
    const ssize_t got = ::read(read.Get(), buffer.data(), buffer.size());
    if (got > 0) lines.Feed(std::string_view(buffer.data(), static_cast<size_t>(got)));
    lines.Finish();
  }
};

bool Ask(int connection, const Command& command, int errors) {
  std::vector<int> descriptors = {errors};
  for (const auto& [ours, theirs] : command.descriptors) descriptors.push_back(ours);
  return base::SendHandover(connection, {command.arguments.begin() + 1, command.arguments.end()},
                            descriptors);
}

// false when it does not come in time.
bool WaitForAnswer(int connection, Clock::time_point deadline) {
  pollfd ready{connection, POLLIN, 0};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    const int count = ::poll(&ready, 1, static_cast<int>(std::clamp<int64_t>(left, 0, 3'600'000)));
    if (count > 0 || (count < 0 && errno != EINTR)) return true;
    if (count == 0 && left <= 0) return false;
  }
}

ChildResult Await(int connection, std::chrono::milliseconds time) {
  ChildResult result;
  if (!WaitForAnswer(connection, Clock::now() + time)) {
    result.end = ChildResult::End::kDeadline;
    return result;
  }
  unsigned char status = 0;
  const bool told = ::recv(connection, &status, 1, 0) == 1;
  result.end = told ? ChildResult::End::kExited : ChildResult::End::kSignalled;
  result.status = told ? status : SIGKILL;
  return result;
}

}  // namespace

ChildResult RunByZygote(const std::string& socket, const Command& command) {
  // Closing the connection ends what is still at work behind it.
  const Descriptor connection = Connect(socket);
  Errors errors;
  if (!connection || !errors.Open()) return {};
  if (!Ask(connection.Get(), command, errors.write.Get())) return {};
  errors.write.Reset();
  const ChildResult result = Await(connection.Get(), command.limits.deadline);
  const std::string program = command.arguments[0].substr(command.arguments[0].rfind('/') + 1);
  if (result.end == ChildResult::End::kSignalled)
    base::Log(LOG_ERR, kUnit, program + " ended without a word");
  errors.Log(program);
  return result;
}

}  // namespace kinora::system
