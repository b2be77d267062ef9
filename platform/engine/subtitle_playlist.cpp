#include "platform/engine/subtitle_playlist.h"

#include <algorithm>
#include <system_error>

#include "platform/base/log.h"
#include "platform/engine/playlist_text.h"
#include "platform/engine/playlists.h"
#include "platform/engine/record.h"
#include "platform/engine/web_address.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/subtitle_playlist";
constexpr int kVersion = 1;

// A player that found a window empty, since the track was still being extracted, may keep it so: a window
// should not be long. Players that read all windows of a subtitle before they show anything want few of them.
constexpr int64_t kWindow = 30;   // seconds
constexpr int64_t kShortest = 5;  // seconds, of the last one

constexpr int64_t kLongest = int64_t{1} << 42;  // microseconds, of a film: more than a thousand hours

WebAddress AddressOf(const WebAddress& subtitle, const SubtitleWindow& window, size_t number) {
  return subtitle.With("start_time", std::to_string(window.start))
      .With("end_time", std::to_string(window.end))
      // At the end: some players judge a fragment by it.
      .With("name", std::to_string(number) + ".vtt");
}

SubtitleRecord ReadRecord(const Json::Value& value) {
  SubtitleRecord record;
  record.url = ObjectIn(value, "url");
  record.length_us = NumberIn(value, "length_us", 1, kLongest);
  for (const Json::Value& id : ListIn(value, "ids")) {
    if (!id.isString()) throw MalformedRecord("a subtitle's id is no text");
    record.ids.push_back(id.asString());
  }
  return record;
}

}  // namespace

std::string ToJsonText(const SubtitleRecord& record) {
  Json::Value value(Json::objectValue);
  value["version"] = kVersion;
  value["url"] = record.url;
  value["ids"] = Json::Value(Json::arrayValue);
  for (const std::string& id : record.ids) value["ids"].append(id);
  value["length_us"] = Json::Int64{record.length_us};
  return WriteRecord(value);
}

std::optional<SubtitleRecord> ParseSubtitleRecord(const std::string& text) {
  try {
    return ReadRecord(ParseRecord(text, kVersion));
  } catch (const MalformedRecord&) {
    return std::nullopt;
  }
}

std::vector<SubtitleWindow> CutIntoWindows(int64_t length_us) {
  std::vector<SubtitleWindow> windows;
  const int64_t end = (length_us + kMicro - 1) / kMicro;
  for (int64_t start = 0; start < end; start = windows.back().end) {
    const bool last = length_us - (start + kWindow) * kMicro < kShortest * kMicro;
    const int64_t next = last ? end : start + kWindow;
    windows.push_back({start, next, std::min(next * kMicro, length_us) - start * kMicro});
  }
  return windows;
}

std::string MakeSubtitlePlaylist(const SubtitleRecord& record, const std::string& id) {
  const WebAddress subtitle =
      WebAddress(record.url, {"subtitle_id", "output_webvtt", "start_time", "end_time", "name"})
          .With("subtitle_id", id)
          .With("output_webvtt", "true");
  std::string segments;
  int64_t longest = 0;
  size_t number = 0;
  for (const SubtitleWindow& window : CutIntoWindows(record.length_us)) {
    longest = std::max(longest, window.length_us);
    segments += "#EXTINF:" + Seconds(window.length_us) + ",\n";
    segments += AddressOf(subtitle, window, number++).Text() + "\n";
  }
  return CompleteMediaPlaylist(longest, segments);
}

std::optional<std::string> ProvideSubtitlePlaylist(const StreamFolder& folder, const std::string& id) {
  const std::optional<std::string> text = folder.Read(kSubtitlesFile);
  if (!text) return std::nullopt;
  const std::optional<SubtitleRecord> record = ParseSubtitleRecord(*text);
  if (!record) {
    base::Log(LOG_ERR, kUnit,
              "The stream " + folder.StreamId() + " has a record of subtitles that cannot be read");
    return std::nullopt;
  }
  const auto offered = std::ranges::find(record->ids, id);
  if (offered == record->ids.end()) return std::nullopt;
  std::string name = "subtitle_" + std::to_string(offered - record->ids.begin()) + ".m3u8";
  const std::optional<std::string> made = folder.Read(name);
  if (made && IsWholePlaylist(*made)) return name;
  try {
    folder.Write(name, MakeSubtitlePlaylist(*record, id));
    return name;
  } catch (const std::system_error& error) {
    base::Log(LOG_ERR, kUnit,
              "The playlist " + name + " of the stream " + folder.StreamId() + ": " + error.what());
    return std::nullopt;
  }
}

}  // namespace kinora::engine
