#include "cli/serve_sockets.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace kinora::cli {
namespace {

constexpr int kBacklog = 1024;
constexpr unsigned int kFirstPort = 8080;
constexpr unsigned int kLastPort = 8279;

struct Address {
  sockaddr_storage storage{};
  socklen_t length = 0;
};

Address Parse(const std::string& text) {
  Address address;
  auto* const v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
  auto* const v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
  if (inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
    v4->sin_family = AF_INET;
    address.length = sizeof *v4;
  } else if (inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
    v6->sin6_family = AF_INET6;
    address.length = sizeof *v6;
  } else {
    throw std::runtime_error("the setting \"address\" is no address: " + text);
  }
  return address;
}

// Nothing, with errno, when the port cannot be had.
base::Descriptor TryPort(Address address, unsigned int port) {
  const bool v6 = address.storage.ss_family == AF_INET6;
  const auto number = htons(static_cast<uint16_t>(port));
  if (v6) reinterpret_cast<sockaddr_in6*>(&address.storage)->sin6_port = number;
  if (!v6) reinterpret_cast<sockaddr_in*>(&address.storage)->sin_port = number;
  base::Descriptor socket(::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int on = 1;
  if (!socket || setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) return {};
  if (v6 && setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on) != 0) return {};
  if (bind(socket.Get(), reinterpret_cast<sockaddr*>(&address.storage), address.length) != 0) return {};
  if (listen(socket.Get(), kBacklog) != 0) return {};
  return socket;
}

std::string Why(const std::string& address, unsigned int port) {
  const std::string place = "port " + std::to_string(port) + " on " + address;
  if (errno == EADDRINUSE) return place + " is taken by another program; choose another with --port";
  if (errno == EACCES) return place + " is for root only; choose one above 1023 with --port";
  return "cannot listen on " + place + ": " + std::strerror(errno);
}

}  // namespace

FrontSocket ListenForBrowsers(const std::string& address, unsigned int port) {
  const Address parsed = Parse(address);
  if (port != 0) {
    FrontSocket front{TryPort(parsed, port), port};
    if (!front.socket) throw std::runtime_error(Why(address, port));
    return front;
  }
  for (unsigned int candidate = kFirstPort; candidate <= kLastPort; ++candidate) {
    FrontSocket front{TryPort(parsed, candidate), candidate};
    if (front.socket) return front;
    if (errno != EADDRINUSE) throw std::runtime_error(Why(address, candidate));
  }
  throw std::runtime_error("all ports from " + std::to_string(kFirstPort) + " to " +
                           std::to_string(kLastPort) + " on " + address + " are taken");
}

}  // namespace kinora::cli
