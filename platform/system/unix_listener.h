// A listening Unix socket.
#pragma once

#include <sys/socket.h>

#include <string>

#include "platform/base/descriptor.h"

namespace kinora::system {

// `type` is SOCK_STREAM or SOCK_SEQPACKET. Only this process's account may connect. What a listener that is
// gone has left under the name is replaced. The descriptor is non-blocking and closed on execution. Throws
// std::system_error.
base::Descriptor ListenOnUnixSocket(const std::string& path, int type = SOCK_STREAM);

}  // namespace kinora::system
