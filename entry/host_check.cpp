#include "entry/host_check.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>

namespace kinora::entry {
namespace {

bool IsPort(std::string_view text) {
  return text.size() <= 5 &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsAddress(int family, const std::string& text) {
  unsigned char address[sizeof(in6_addr)];
  return inet_pton(family, text.c_str(), address) == 1;
}

bool EqualNames(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

}  // namespace

bool IsOwnHost(std::string_view host, const std::vector<std::string>& own_names) {
  if (host.empty() || host.size() > 300 || host.find('\0') != std::string_view::npos) return false;
  if (host.front() == '[') {
    const size_t end = host.find(']');
    if (end == std::string_view::npos) return false;
    const std::string_view rest = host.substr(end + 1);
    const bool port_fits = rest.empty() || (rest.front() == ':' && IsPort(rest.substr(1)));
    return port_fits && IsAddress(AF_INET6, std::string(host.substr(1, end - 1)));
  }
  const size_t colon = host.find(':');
  if (colon != std::string_view::npos && !IsPort(host.substr(colon + 1))) return false;
  std::string name(host.substr(0, colon));
  if (IsAddress(AF_INET, name)) return true;
  if (name.size() > 1 && name.back() == '.') name.pop_back();
  return EqualNames(name, "localhost") ||
         std::any_of(own_names.begin(), own_names.end(),
                     [&](const std::string& own) { return EqualNames(name, own); });
}

bool IsOwnOrigin(std::string_view origin, const std::vector<std::string>& own_names) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (origin.starts_with(scheme)) return IsOwnHost(origin.substr(scheme.size()), own_names);
  }
  return false;
}

}  // namespace kinora::entry
