#include "platform/engine/film_cuts.h"

#include <json/json.h>

#include <algorithm>
#include <limits>

#include "platform/system/strict_json.h"

namespace kinora::engine {
namespace {

constexpr size_t kLongestLine = size_t{16} << 20;
constexpr int kDeepest = 4;
constexpr int64_t kLongestFilm = int64_t{1000} * 3600 * kTransportClock;
constexpr int kMostTracks = 256;
constexpr size_t kLongestText = 200;
constexpr size_t kLongestCodec = 64;

bool IsNumber(const Json::Value& value, int64_t least, int64_t most) {
  return value.isInt64() && value.asInt64() >= least && value.asInt64() <= most;
}

bool IsCodec(const std::string& text) {
  const auto allowed = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.';
  };
  return text.size() <= kLongestCodec && std::all_of(text.begin(), text.end(), allowed);
}

// A film that cannot be copied may be cut in any way: nobody uses that.
bool TakeCuts(const Json::Value& list, FilmCuts& film) {
  if (!list.isArray()) return false;
  if (!film.trouble.empty()) return true;
  for (const Json::Value& cut : list) {
    const int64_t least = film.cuts.empty() ? 0 : film.cuts.back() + 1;
    if (!IsNumber(cut, least, kLongestFilm)) return false;
    film.cuts.push_back(cut.asInt64());
  }
  return film.cuts.size() >= 2 && film.cuts.front() == 0;
}

bool TakeFrameRate(const Json::Value& rate, FilmCuts& film) {
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  if (!rate.isArray() || rate.size() != 2 || !IsNumber(rate[0], 0, kMost) || !IsNumber(rate[1], 0, kMost)) {
    return false;
  }
  if (rate[1].asInt64() > 0) film.frame_rate = MediaTime(rate[0].asInt64(), rate[1].asInt64());
  return true;
}

std::optional<FilmCuts> Take(const Json::Value& value) {
  FilmCuts film;
  if (!value.isObject() || !value["indexed"].isBool()) return std::nullopt;
  film.indexed = value["indexed"].asBool();
  if (!film.indexed) return film;
  if (!value["trouble"].isString() || !value["codec"].isString()) return std::nullopt;
  if (!IsNumber(value["video"], -1, kMostTracks)) return std::nullopt;
  if (!IsNumber(value["peak_bitrate"], 0, std::numeric_limits<int64_t>::max())) return std::nullopt;
  film.trouble = value["trouble"].asString().substr(0, kLongestText);
  film.codec = value["codec"].asString();
  film.video = value["video"].asInt();
  film.peak_bitrate = value["peak_bitrate"].asInt64();
  if (!IsCodec(film.codec) || !TakeCuts(value["cuts"], film) || !TakeFrameRate(value["frame_rate"], film)) {
    return std::nullopt;
  }
  return film;
}

}  // namespace

std::optional<FilmCuts> ParseFilmCuts(std::string_view line) {
  if (line.size() > kLongestLine) return std::nullopt;
  const std::optional<Json::Value> value = system::ParseStrictJson(line, kDeepest);
  return value ? Take(*value) : std::nullopt;
}

}  // namespace kinora::engine
