#include "platform/base/handover.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace kinora::base {
namespace {

// Where the kernel puts the descriptors of a message.
union Ancillary {
  cmsghdr alignment;
  std::array<char, CMSG_SPACE(kMostDescriptorsHandedOver * sizeof(int))> bytes;
};

// Takes hold of them all, so that none stays open unnoticed.
std::vector<Descriptor> TakeDescriptors(msghdr& message) {
  std::vector<Descriptor> taken;
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
    const size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (size_t i = 0; i < count; ++i) {
      int number = -1;
      std::memcpy(&number, CMSG_DATA(part) + i * sizeof number, sizeof number);
      taken.emplace_back(number);
    }
  }
  return taken;
}

}  // namespace

bool SendHandover(int socket, const std::vector<std::string>& texts, const std::vector<int>& descriptors) {
  std::string bytes;
  errno = EMSGSIZE;
  for (const std::string& text : texts) {
    if (text.find('\0') != std::string::npos) return false;
    bytes += text + '\0';
  }
  if (bytes.empty() || bytes.size() > kLongestHandover) return false;
  if (descriptors.empty() || descriptors.size() > kMostDescriptorsHandedOver) return false;
  iovec content{bytes.data(), bytes.size()};
  Ancillary ancillary{};
  msghdr message{};
  message.msg_iov = &content;
  message.msg_iovlen = 1;
  message.msg_control = ancillary.bytes.data();
  message.msg_controllen = CMSG_SPACE(descriptors.size() * sizeof(int));
  cmsghdr* const part = CMSG_FIRSTHDR(&message);
  part->cmsg_level = SOL_SOCKET;
  part->cmsg_type = SCM_RIGHTS;
  part->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
  std::memcpy(CMSG_DATA(part), descriptors.data(), descriptors.size() * sizeof(int));
  ssize_t sent = 0;
  while ((sent = ::sendmsg(socket, &message, MSG_NOSIGNAL)) < 0 && errno == EINTR) {
  }
  return sent >= 0;
}

std::optional<Handover> ReceiveHandover(int socket) {
  std::string bytes(kLongestHandover, '\0');
  iovec content{bytes.data(), bytes.size()};
  Ancillary ancillary{};
  msghdr message{};
  message.msg_iov = &content;
  message.msg_iovlen = 1;
  message.msg_control = ancillary.bytes.data();
  message.msg_controllen = ancillary.bytes.size();
  ssize_t got = 0;
  while ((got = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC)) < 0 && errno == EINTR) {
  }
  if (got < 0) return std::nullopt;
  Handover handover;
  handover.descriptors = TakeDescriptors(message);
  // What did not fit is gone.
  if (got == 0 || (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) return std::nullopt;
  std::optional<std::vector<std::string>> texts =
      SplitTexts(std::string_view(bytes).substr(0, static_cast<size_t>(got)));
  if (!texts) return std::nullopt;
  handover.texts = std::move(*texts);
  return handover;
}

std::optional<std::vector<std::string>> SplitTexts(std::string_view bytes) {
  if (!bytes.empty() && bytes.back() != '\0') return std::nullopt;
  std::vector<std::string> texts;
  while (!bytes.empty()) {
    const size_t end = bytes.find('\0');
    texts.emplace_back(bytes.substr(0, end));
    bytes.remove_prefix(end + 1);
  }
  return texts;
}

}  // namespace kinora::base
