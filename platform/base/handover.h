// Texts and open descriptors, handed from one process to another in one message over a Unix socket that keeps
// messages apart (SOCK_SEQPACKET). Each text ends with a zero byte.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/descriptor.h"

namespace kinora::base {

inline constexpr size_t kLongestHandover = 4096;  // bytes of text, the zero bytes included
inline constexpr size_t kMostDescriptorsHandedOver = 8;

struct Handover {
  std::vector<std::string> texts;
  std::vector<Descriptor> descriptors;  // closed on execution
};

// false, with errno, when the message cannot be sent; EMSGSIZE when it is too long or a text holds a zero
// byte. Raises no signal.
bool SendHandover(int socket, const std::vector<std::string>& texts, const std::vector<int>& descriptors);

// Waits for the message as the socket does. Nothing when none came, or none as SendHandover sends it; what it
// brought along is closed then.
std::optional<Handover> ReceiveHandover(int socket);

// The texts of a message; nothing when the last one has no end.
std::optional<std::vector<std::string>> SplitTexts(std::string_view bytes);

}  // namespace kinora::base
