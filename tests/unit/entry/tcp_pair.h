// Both ends of a TCP connection on this machine.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "entry/tcp_connection.h"

namespace kinora::test {

struct TcpPair {
  // On that address of this machine; `local` stays -1 where the machine does not have it.
  explicit TcpPair(const std::string& address) {
    sockaddr_storage where{};
    socklen_t length = Fill(address, where);
    const int listener = socket(where.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, reinterpret_cast<sockaddr*>(&where), length) == 0 && listen(listener, 1) == 0) {
      getsockname(listener, reinterpret_cast<sockaddr*>(&where), &length);
      peer = socket(where.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
      EXPECT_EQ(connect(peer, reinterpret_cast<sockaddr*>(&where), length), 0);
      sockaddr_storage from{};
      length = sizeof from;
      local = accept(listener, reinterpret_cast<sockaddr*>(&from), &length);
      ends = {address, PortOf(where), address, PortOf(from)};
    }
    close(listener);
  }
  ~TcpPair() {
    ClosePeer();
    if (local >= 0) close(local);
  }
  TcpPair(const TcpPair&) = delete;
  TcpPair& operator=(const TcpPair&) = delete;

  void ClosePeer() {
    if (peer >= 0) close(std::exchange(peer, -1));
  }

  int local = -1;
  int peer = -1;
  entry::TcpEnds ends;

 private:
  static socklen_t Fill(const std::string& address, sockaddr_storage& where) {
    if (address.find(':') == std::string::npos) {
      auto& four = reinterpret_cast<sockaddr_in&>(where);
      four.sin_family = AF_INET;
      inet_pton(AF_INET, address.c_str(), &four.sin_addr);
      return sizeof four;
    }
    auto& six = reinterpret_cast<sockaddr_in6&>(where);
    six.sin6_family = AF_INET6;
    inet_pton(AF_INET6, address.c_str(), &six.sin6_addr);
    return sizeof six;
  }
  // At the same place in both kinds of address.
  static std::string PortOf(const sockaddr_storage& where) {
    return std::to_string(ntohs(reinterpret_cast<const sockaddr_in&>(where).sin_port));
  }
};

}  // namespace kinora::test
