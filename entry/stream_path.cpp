#include "entry/stream_path.h"

#include <string>

namespace kinora::entry {
namespace {

constexpr std::string_view kStart = "/ss/";
constexpr char kManifest[] = "Manifest";
constexpr char kCookieTells[] = "-";

// Takes the text up to the next slash, and the slash; nothing when there is none, or nothing before it.
std::optional<std::string> TakeSegment(std::string_view& path) {
  const size_t end = path.find('/');
  if (end == 0 || end == std::string_view::npos) return std::nullopt;
  std::string segment(path.substr(0, end));
  path.remove_prefix(end + 1);
  return segment;
}

}  // namespace

std::optional<Form> ParametersOfPath(std::string_view path) {
  if (!path.starts_with(kStart)) return std::nullopt;
  path.remove_prefix(kStart.size());
  const std::optional<std::string> session = TakeSegment(path);
  const std::optional<std::string> stream = session ? TakeSegment(path) : std::nullopt;
  if (!stream || path.empty()) return std::nullopt;
  if (session->size() > kLongestValue || path.size() > kLongestValue) throw Malformed("address too long");

  Form form = {{"api", "CRVN.Kinora2.Stream"}, {"method", "stream"}, {"version", "1"}, {"format", "ss"}};
  if (*session != kCookieTells) form["_sid"] = *session;
  form["id"] = *stream;
  if (path != kManifest) form["fragment"] = path;
  return form;
}

}  // namespace kinora::entry
