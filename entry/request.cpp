#include "entry/request.h"

#include <charconv>
#include <utility>

#include "entry/stream_path.h"
#include "platform/base/text.h"

namespace kinora::entry {
namespace {

const std::string kNothing;
constexpr size_t kLongestAgent = 256;

const std::string& Variable(const Variables& variables, std::string_view name) {
  const auto found = variables.find(name);
  return found == variables.end() ? kNothing : found->second;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

bool EqualsWithoutCase(std::string_view a, std::string_view lower) {
  if (a.size() != lower.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    const char c = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
    if (c != lower[i]) return false;
  }
  return true;
}

bool IsForm(std::string_view content_type) {
  return EqualsWithoutCase(Trim(content_type.substr(0, content_type.find(';'))),
                           "application/x-www-form-urlencoded");
}

}  // namespace

const std::string& Request::Get(std::string_view name) const {
  const auto found = parameters.find(name);
  return found == parameters.end() ? kNothing : found->second;
}

std::string CookieValue(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    const size_t end = header.find(';');
    const std::string_view pair = Trim(header.substr(0, end));
    const size_t equals = pair.find('=');
    if (equals != std::string_view::npos && pair.substr(0, equals) == name) {
      return std::string(pair.substr(equals + 1));
    }
    header = end == std::string_view::npos ? std::string_view() : header.substr(end + 1);
  }
  return {};
}

size_t BodyLength(const Variables& variables) {
  const std::string& text = Variable(variables, "CONTENT_LENGTH");
  if (text.empty()) return 0;
  size_t length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
    throw Malformed("bad Content-Length");
  }
  if (error != std::errc() || length > kLargestBody) throw Malformed("body too large");
  return length;
}

Request MakeRequest(const Variables& variables, std::string_view body) {
  Request request;
  request.verb = Variable(variables, "REQUEST_METHOD");
  request.host = Variable(variables, "HTTP_HOST");
  request.origin = Variable(variables, "HTTP_ORIGIN");
  request.client = Variable(variables, "REMOTE_ADDR");
  request.connection = {Variable(variables, "SERVER_ADDR"), Variable(variables, "SERVER_PORT"),
                        request.client, Variable(variables, "REMOTE_PORT")};
  request.range = Variable(variables, "HTTP_RANGE");
  request.agent = base::ToOneLine(Variable(variables, "HTTP_USER_AGENT").substr(0, kLongestAgent));
  const bool secure =
      Variable(variables, "HTTPS") == "on" || Variable(variables, "REQUEST_SCHEME") == "https";
  request.scheme = secure ? "https" : "http";

  const std::string& query = Variable(variables, "QUERY_STRING");
  if (query.size() > kLargestQuery) throw Malformed("address too long");
  const std::string& path = Variable(variables, "PATH_INFO");
  if (std::optional<Form> of_path = ParametersOfPath(path)) {
    request.parameters = std::move(*of_path);
  } else {
    request.path_info = path;
    ParseForm(query, request.parameters);
  }
  if (!body.empty()) {
    if (request.verb != "POST") throw Malformed("only POST takes a body");
    if (!IsForm(Variable(variables, "CONTENT_TYPE"))) throw Malformed("the body is no form");
    ParseForm(body, request.parameters);
  }

  request.sid = request.Get("_sid");
  if (request.sid.empty()) request.sid = CookieValue(Variable(variables, "HTTP_COOKIE"), "kinora_session");
  request.token = request.Get("CrvnToken");
  if (request.token.empty()) request.token = Variable(variables, "HTTP_X_CRVN_TOKEN");
  return request;
}

}  // namespace kinora::entry
