#include "platform/engine/web_address.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace kinora::engine {
namespace {

bool IsUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_' || c == '~';
}

// RFC 3986, 2.1.
template <typename Keeps>
std::string PercentEncoded(std::string_view text, Keeps keeps) {
  std::string encoded;
  for (const char c : text) {
    if (keeps(c)) {
      encoded += c;
      continue;
    }
    char hex[4];
    std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(c));
    encoded += hex;
  }
  return encoded;
}

std::string QueryPart(std::string_view text) { return PercentEncoded(text, IsUnreserved); }

// An address as it was given, but for what would end a line or a quoted string.
std::string AddressPart(std::string_view text) {
  return PercentEncoded(text, [](char c) { return c > ' ' && c < '\x7F' && c != '"'; });
}

std::optional<std::string> QueryValue(const Json::Value& value) {
  if (value.isString()) return value.asString();
  if (value.isBool()) return value.asBool() ? "true" : "false";
  if (value.isUInt64()) return std::to_string(value.asUInt64());
  if (value.isInt64()) return std::to_string(value.asInt64());
  return std::nullopt;
}

}  // namespace

WebAddress::WebAddress(const Json::Value& url, std::initializer_list<std::string_view> replaced)
    : text_(url["url"].isString() ? AddressPart(url["url"].asString()) : ""),
      separator_(text_.find('?') == std::string::npos ? '?' : '&') {
  for (const std::string& key : url.getMemberNames()) {
    if (key == "url" || std::find(replaced.begin(), replaced.end(), key) != replaced.end()) continue;
    if (const std::optional<std::string> value = QueryValue(url[key])) Add(key, *value);
  }
}

WebAddress WebAddress::With(std::string_view name, std::string_view value) const {
  WebAddress address = *this;
  address.Add(name, value);
  return address;
}

void WebAddress::Add(std::string_view name, std::string_view value) {
  text_ += separator_ + QueryPart(name) + "=" + QueryPart(value);
  separator_ = '&';
}

}  // namespace kinora::engine
