#include "cli/serve_probe.h"

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

#include "cli/serve_config.h"
#include "platform/base/descriptor.h"

namespace kinora::cli {
namespace {

constexpr timeval kPatience{5, 0};
constexpr size_t kLongestAnswer = 16 << 10;

base::Descriptor Connect(const std::string& address, unsigned int port) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return {};
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> place(found, freeaddrinfo);
  base::Descriptor socket(::socket(place->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket) return {};
  setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
  setsockopt(socket.Get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
  if (connect(socket.Get(), place->ai_addr, place->ai_addrlen) != 0) return {};
  return socket;
}

}  // namespace

bool Answers(const std::string& address, unsigned int port) {
  const std::string host = AddressToVisit(address);
  const base::Descriptor socket = Connect(host, port);
  if (!socket) return false;
  // A session that does not exist: to say so, the database must have been asked.
  const std::string request =
      "GET /webapi/entry.cgi?api=CRVN.Kinora2.Session&version=1&method=whoami HTTP/1.1\r\nHost: " +
      InBrackets(host) + "\r\nCookie: kinora_session=" + std::string(43, 'A') +
      "\r\nConnection: close\r\n\r\n";
  if (send(socket.Get(), request.data(), request.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(request.size())) {
    return false;
  }
  std::string answer;
  char buffer[4096];
  ssize_t got = 0;
  while (answer.size() < kLongestAnswer && (got = recv(socket.Get(), buffer, sizeof buffer, 0)) > 0) {
    answer.append(buffer, static_cast<size_t>(got));
  }
  return answer.starts_with("HTTP/1.1 401 ") && answer.find("\"code\":124") != std::string::npos;
}

}  // namespace kinora::cli
