// One request to the web API, as the web server hands it over in CGI variables (RFC 3875).
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "entry/form.h"
#include "entry/scgi.h"
#include "entry/tcp_connection.h"

namespace kinora::entry {

inline constexpr size_t kLargestQuery = 16 << 10;
inline constexpr size_t kLargestBody = 64 << 10;

struct Request {
  std::string verb;       // "GET", "HEAD", "POST", "OPTIONS", ...
  std::string path_info;  // what follows the program's name in the address and stands for no parameters;
                          // empty or "/..."
  Form parameters;        // of the address and of the body together; where the path has some, no query has
  std::string sid;        // the parameter "_sid", else the cookie; empty: none
  std::string token;      // "CrvnToken": the parameter, else the header X-Crvn-Token; empty: none
  std::string host;       // the Host header
  std::string origin;     // the Origin header; empty: none
  std::string scheme;     // "http" or "https"
  std::string client;     // the other side's address
  TcpEnds connection;     // the web server's with the other side
  std::string range;      // the Range header
  std::string agent;      // the User-Agent header as one line of text, cut after 256 bytes

  // The parameter's value, empty where it is missing.
  const std::string& Get(std::string_view name) const;
};

// How long the body is that belongs to the variables; 0 for a request without one. Throws Malformed when the
// length is no number, or larger than is ever read.
size_t BodyLength(const Variables& variables);

// Throws Malformed.
Request MakeRequest(const Variables& variables, std::string_view body);

// The value of the first cookie of that name in a Cookie header; empty where there is none.
std::string CookieValue(std::string_view header, std::string_view name);

}  // namespace kinora::entry
