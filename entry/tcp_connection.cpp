#include "entry/tcp_connection.h"

#include <arpa/inet.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <charconv>
#include <utility>

namespace kinora::entry {
namespace {

// The port in network byte order.
std::optional<uint16_t> ParsePort(const std::string& text) {
  uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || rest != end || port == 0) return std::nullopt;
  return htons(port);
}

std::optional<inet_diag_sockid> MakeSocketId(int family, const TcpEnds& ends) {
  const std::optional<uint16_t> local_port = ParsePort(ends.local_port);
  const std::optional<uint16_t> peer_port = ParsePort(ends.peer_port);
  inet_diag_sockid id{};
  if (!local_port || !peer_port || inet_pton(family, ends.local_address.c_str(), id.idiag_src) != 1 ||
      inet_pton(family, ends.peer_address.c_str(), id.idiag_dst) != 1) {
    return std::nullopt;
  }
  id.idiag_sport = *local_port;
  id.idiag_dport = *peer_port;
  id.idiag_cookie[0] = id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
  return id;
}

}  // namespace

std::optional<TcpConnection> TcpConnection::Between(const TcpEnds& ends) {
  const int family = ends.peer_address.find(':') == std::string::npos ? AF_INET : AF_INET6;
  const std::optional<inet_diag_sockid> id = MakeSocketId(family, ends);
  if (!id) return std::nullopt;
  base::Descriptor kernel(socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG));
  if (!kernel) return std::nullopt;
  Question question{};
  question.header.nlmsg_len = sizeof question;
  question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  question.header.nlmsg_flags = NLM_F_REQUEST;
  question.body.sdiag_family = static_cast<uint8_t>(family);
  question.body.sdiag_protocol = IPPROTO_TCP;
  question.body.idiag_states = ~0U;
  question.body.id = *id;
  return TcpConnection(std::move(kernel), question);
}

bool TcpConnection::IsClosedByPeer() const {
  struct {
    nlmsghdr header;
    inet_diag_msg body;
    char more[256];  // attributes that nobody has asked for
  } answer{};
  if (send(kernel_.Get(), &question_, sizeof question_, MSG_NOSIGNAL) != sizeof question_) return false;
  // The kernel answers while it is asked.
  const ssize_t length = recv(kernel_.Get(), &answer, sizeof answer, MSG_DONTWAIT);
  if (length < static_cast<ssize_t>(sizeof answer.header + sizeof answer.body)) return false;
  return answer.header.nlmsg_type == SOCK_DIAG_BY_FAMILY && answer.body.idiag_state == TCP_CLOSE_WAIT;
}

}  // namespace kinora::entry
