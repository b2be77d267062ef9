// Whether a request is addressed to this server by a name that it goes by.
//
// A page of another site can make its own name point to this machine (DNS rebinding); its requests then bear
// that name. Names are therefore refused but for "localhost" and those of the settings. Addresses need no
// list: no name was looked up to reach them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kinora::entry {

// `host` is a Host header: a name or an address, an IPv6 address in brackets, with or without a port.
bool IsOwnHost(std::string_view host, const std::vector<std::string>& own_names);

// `origin` is an Origin header ("http://name:port"); "null" is nobody's.
bool IsOwnOrigin(std::string_view origin, const std::vector<std::string>& own_names);

}  // namespace kinora::entry
