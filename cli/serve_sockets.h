// The socket that `kinora serve` opens for browsers and hands to the web server: it outlives restarts, so
// that whoever connects meanwhile waits instead of being refused.
#pragma once

#include <string>

#include "platform/base/descriptor.h"

namespace kinora::cli {

struct FrontSocket {
  base::Descriptor socket;
  unsigned int port = 0;
};

// Listens on the address (IPv4 or IPv6, no name). Port 0: the first free one from 8080 on. Throws
// std::runtime_error, in words for people.
FrontSocket ListenForBrowsers(const std::string& address, unsigned int port);

}  // namespace kinora::cli
