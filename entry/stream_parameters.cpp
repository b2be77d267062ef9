#include "entry/stream_parameters.h"

#include <algorithm>
#include <climits>

#include "entry/api_errors.h"
#include "entry/numbers.h"
#include "platform/engine/playlists.h"
#include "platform/engine/smooth_address.h"

namespace kinora::entry {
namespace {

constexpr size_t kLongestWord = 32;
constexpr size_t kLongestFormats = 64;
constexpr size_t kLongestPath = PATH_MAX;
constexpr int64_t kLargestTrack = 9999;

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsWord(std::string_view text) {
  return text.size() <= kLongestWord &&
         std::all_of(text.begin(), text.end(), [](char c) { return IsLetter(c) || IsDigit(c); });
}

// The parser leaves the track's name as it is.
bool IsChunk(const std::string& text) {
  const std::optional<engine::SmoothAddress> address = engine::ParseSmoothAddress(text);
  return address && IsWord(address->track);
}

[[noreturn]] void Refuse(const char* name) {
  throw Error(crvnkn::webapi::kErrorBadParameter, std::string("Bad parameter ") + name);
}

}  // namespace

std::string WordParameter(const Request& request, const char* name) {
  const std::string& word = request.Get(name);
  if (!IsWord(word)) Refuse(name);
  return word;
}

std::string FragmentParameter(const Request& request) {
  const std::string& fragment = request.Get("fragment");
  if (!IsWord(fragment) && !IsChunk(fragment)) Refuse("fragment");
  return fragment;
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

std::string OfferedSubtitleParameter(const Request& request) {
  const std::string& subtitle = request.Get("subtitle_id");
  const bool is_file = subtitle.starts_with('/') && subtitle.size() < kLongestPath;
  return is_file && request.Get("playlist") == engine::kSubtitlePlaylist ? subtitle
                                                                         : SubtitleParameter(request);
}

}  // namespace kinora::entry
