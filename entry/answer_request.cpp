#include "entry/answer_request.h"

#include <poll.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "entry/dispatch.h"
#include "entry/log.h"
#include "entry/scgi.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"

namespace kinora::entry {
namespace {

constexpr char kUnit[] = "entry/answer_request";

using Deadline = std::chrono::steady_clock::time_point;

int MillisecondsUntil(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

// Reads what is there, at least one byte. Throws Malformed when the other side is too slow or stops early.
size_t ReadSome(int input, char* buffer, size_t size, Deadline deadline) {
  for (;;) {
    pollfd ready{input, POLLIN, 0};
    const int count = poll(&ready, 1, MillisecondsUntil(deadline));
    if (count == 0) throw Malformed("the request did not come in time");
    const ssize_t got = count < 0 ? -1 : read(input, buffer, size);
    if (got > 0) return static_cast<size_t>(got);
    if (got == 0) throw Malformed("the request ends early");
    if (errno != EINTR && errno != EAGAIN) throw Malformed("the request cannot be read");
  }
}

std::string ReadBody(int input, size_t length, Deadline deadline) {
  std::string body(length, '\0');
  size_t have = 0;
  while (have < length) have += ReadSome(input, body.data() + have, length - have, deadline);
  return body;
}

Variables ReadScgiHeader(int input, Deadline deadline) {
  ScgiHeaderReader reader;
  std::array<char, 4096> buffer;
  while (const size_t wanted = reader.Wanted()) {
    const size_t got = ReadSome(input, buffer.data(), std::min(wanted, buffer.size()), deadline);
    reader.Feed({buffer.data(), got});
  }
  return reader.Parse();
}

bool IsCgiVariable(const std::string& name) {
  static constexpr const char* kNames[] = {
      "CONTENT_LENGTH", "CONTENT_TYPE",   "HTTPS",          "PATH_INFO",   "QUERY_STRING",
      "REMOTE_ADDR",    "REQUEST_METHOD", "REQUEST_SCHEME", "REQUEST_URI", "SCRIPT_NAME",
      "SERVER_NAME",    "SERVER_PORT",    "SERVER_PROTOCOL"};
  // "Proxy" is no header that anybody means: libraries take HTTP_PROXY for a setting.
  if (name.starts_with("HTTP_")) return name != "HTTP_PROXY";
  return std::any_of(std::begin(kNames), std::end(kNames), [&](const char* known) { return name == known; });
}

// The file output reads the request's header fields from the environment, as CGI has them.
void TakeOnEnvironment(const Variables& variables) {
  clearenv();
  setenv("PATH", "/usr/bin:/bin", 1);
  for (const auto& [name, value] : variables) {
    if (IsCgiVariable(name)) setenv(name.c_str(), value.c_str(), 1);
  }
}

Variables TakeEnvironment() {
  Variables variables;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const char* const equals = std::strchr(*entry, '=');
    if (equals == nullptr) continue;
    std::string name(*entry, static_cast<size_t>(equals - *entry));
    if (IsCgiVariable(name)) variables.emplace(std::move(name), equals + 1);
  }
  return variables;
}

void Send(const Answer& answer, bool with_body) { WriteAll(STDOUT_FILENO, ToCgiText(answer, with_body)); }

void SendMalformed(const Malformed& error) {
  Log(LOG_WARNING, kUnit, std::string("malformed request: ") + error.what());
  Send(ErrorAnswer(kMalformedRequest, error.what()), true);
}

// A client that goes away must not end the process in the middle of its work, a crash must not leave what was
// in memory on the disk.
void LimitProcess(std::chrono::milliseconds to_answer) {
  signal(SIGPIPE, SIG_IGN);
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(to_answer);
  const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(to_answer - seconds);
  const itimerval timer{{0, 0}, {seconds.count(), rest.count()}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

// Throws Malformed.
void AnswerRequest(const Variables& variables, const system::Settings& settings, Deadline deadline) {
  TakeOnEnvironment(variables);
  const std::string body = ReadBody(STDIN_FILENO, BodyLength(variables), deadline);
  const Request request = MakeRequest(variables, body);
  const std::optional<Answer> answer = Dispatch(request, settings);
  if (answer) Send(*answer, request.verb != "HEAD");
}

// Installed set-uid root, it must become somebody: strangers may start it with variables of their own.
void EnterIdentity(const system::Settings& settings) {
  system::EnterServiceIdentity(settings);
  if (getauxval(AT_SECURE) != 0 && geteuid() == 0) {
    throw std::runtime_error("set-uid root, but the settings name no account");
  }
}

}  // namespace

int AnswerCgi() {
  const TimeLimits limits;
  const Deadline deadline = std::chrono::steady_clock::now() + limits.to_send;
  LimitProcess(limits.to_answer);
  OpenLog();
  const system::Settings settings = system::LoadSettings(system::kSettingsFile);
  try {
    EnterIdentity(settings);
    AnswerRequest(TakeEnvironment(), settings, deadline);
  } catch (const Malformed& error) {
    SendMalformed(error);
  } catch (const std::exception& error) {
    Log(LOG_CRIT, kUnit, std::string("cannot work as the service: ") + error.what());
    Send(ErrorAnswer(kServiceFailure, "Internal failure"), true);
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}

int AnswerScgi(int connection, const system::Settings& settings, const TimeLimits& limits) {
  const Deadline deadline = std::chrono::steady_clock::now() + limits.to_send;
  if (dup2(connection, STDIN_FILENO) < 0 || dup2(connection, STDOUT_FILENO) < 0) return EXIT_FAILURE;
  if (connection > STDERR_FILENO) close(connection);
  LimitProcess(limits.to_answer);
  try {
    AnswerRequest(ReadScgiHeader(STDIN_FILENO, deadline), settings, deadline);
  } catch (const Malformed& error) {
    SendMalformed(error);
  }
  return EXIT_SUCCESS;
}

}  // namespace kinora::entry
