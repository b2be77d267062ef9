#include "cli/serve_config.h"

#include <algorithm>
#include <stdexcept>

namespace kinora::cli {
namespace {

bool IsName(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

void CheckValue(const std::string& value) {
  const bool breaks_out = std::any_of(value.begin(), value.end(), [](char c) {
    return c == '"' || c == '\\' || c == '$' || static_cast<unsigned char>(c) < 0x20;
  });
  if (breaks_out)
    throw std::invalid_argument("this cannot stand in the web server's configuration: " + value);
}

}  // namespace

std::string FillTemplate(const std::string& text, const std::map<std::string, std::string>& values) {
  std::string filled;
  size_t at = 0;
  while (at < text.size()) {
    const size_t start = text.find('@', at);
    const size_t end = start == std::string::npos ? start : text.find('@', start + 1);
    if (end == std::string::npos) break;
    const std::string name = text.substr(start + 1, end - start - 1);
    filled += text.substr(at, start - at);
    if (!IsName(name)) {
      filled += '@';
      at = start + 1;
      continue;
    }
    const auto value = values.find(name);
    if (value == values.end()) throw std::invalid_argument("no value for @" + name + "@");
    CheckValue(value->second);
    filled += value->second;
    at = end + 1;
  }
  return filled + text.substr(at);
}

std::string InBrackets(const std::string& address) {
  return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

std::string AddressToVisit(const std::string& address) {
  if (address == "0.0.0.0") return "127.0.0.1";
  return address == "::" ? "::1" : address;
}

}  // namespace kinora::cli
