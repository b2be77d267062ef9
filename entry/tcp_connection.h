// What the kernel knows about a TCP connection of this machine that another process holds (sock_diag(7)).
#pragma once

#include <linux/inet_diag.h>
#include <linux/netlink.h>

#include <optional>
#include <string>

#include "platform/base/descriptor.h"

namespace kinora::entry {

// Both ends of a connection, in text: IP addresses of one family, and ports.
struct TcpEnds {
  std::string local_address;
  std::string local_port;
  std::string peer_address;
  std::string peer_port;
};

class TcpConnection {
 public:
  // Nothing when the ends are none, or the kernel cannot be asked.
  static std::optional<TcpConnection> Between(const TcpEnds& ends);

  // Whether the peer has closed it: nothing more will come from there. false when the connection is not
  // known. May be called in a signal handler.
  bool IsClosedByPeer() const;

 private:
  struct Question {
    nlmsghdr header;
    inet_diag_req_v2 body;
  };

  TcpConnection(base::Descriptor kernel, const Question& question)
      : kernel_(std::move(kernel)), question_(question) {}

  base::Descriptor kernel_;
  Question question_;
};

}  // namespace kinora::entry
