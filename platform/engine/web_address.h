// Addresses of the web API, made from what the library hands over: an object with "url" and the parameters of
// the query.
#pragma once

#include <json/json.h>

#include <initializer_list>
#include <string>
#include <string_view>

namespace kinora::engine {

class WebAddress {
 public:
  // Every member of `url` but "url" itself and those that are `replaced` goes into the query; flags as "true"
  // and "false". Members that are neither text nor number nor flag are left out.
  WebAddress(const Json::Value& url, std::initializer_list<std::string_view> replaced);

  // With one more parameter.
  WebAddress With(std::string_view name, std::string_view value) const;

  // Holds nothing that would end a line or a quoted string.
  const std::string& Text() const { return text_; }

 private:
  void Add(std::string_view name, std::string_view value);

  std::string text_;
  char separator_;
};

}  // namespace kinora::engine
