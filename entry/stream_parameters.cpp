#include "entry/stream_parameters.h"

#include <algorithm>

#include "entry/api_errors.h"
#include "entry/numbers.h"

namespace kinora::entry {
namespace {

constexpr size_t kLongestWord = 32;
constexpr size_t kLongestFormats = 64;
constexpr int64_t kLargestTrack = 9999;

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

[[noreturn]] void Refuse(const char* name) {
  throw Error(crvnkn::webapi::kErrorBadParameter, std::string("Bad parameter ") + name);
}

}  // namespace

std::string WordParameter(const Request& request, const char* name) {
  const std::string& word = request.Get(name);
  const bool fits = word.size() <= kLongestWord &&
                    std::all_of(word.begin(), word.end(), [](char c) { return IsLetter(c) || IsDigit(c); });
  if (!fits) Refuse(name);
  return word;
}

std::string FormatsParameter(const Request& request) {
  const std::string& formats = request.Get("format");
  const bool fits =
      formats.size() <= kLongestFormats &&
      std::all_of(formats.begin(), formats.end(), [](char c) { return IsLetter(c) || c == ','; });
  if (!fits) Refuse("format");
  return formats.empty() ? "auto" : formats;
}

std::string TrackParameter(const Request& request, const char* name) {
  const std::string& track = request.Get(name);
  if (!track.empty()) NumberParameter(request, name, 0, kLargestTrack);
  return track;
}

std::string SubtitleParameter(const Request& request) {
  return request.Get("subtitle_id") == "DLNA" ? "DLNA" : TrackParameter(request, "subtitle_id");
}

}  // namespace kinora::entry
