// The media playlist of a subtitle: the film in windows, each of them the web API's own answer for that time.
// It is made when it is first asked for, since a film may have very many subtitles; the stream's folder keeps
// what is needed for it (subtitles.json):
//
// {"version": 1, "url": the address of the subtitle web API as Init got it, "ids": the subtitles that the
// master
//  playlist offers, in its order, "length_us": of the film}
#pragma once

#include <json/json.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/engine/stream_folder.h"
#include "platform/engine/subtitle_offer.h"

namespace kinora::engine {

inline constexpr char kSubtitlesFile[] = "subtitles.json";

// What all subtitles of a stream have in common, and which there are.
struct SubtitleRecord {
  Json::Value url;
  std::vector<std::string> ids;
  int64_t length_us = 0;

  bool operator==(const SubtitleRecord&) const = default;
};
std::string ToJsonText(const SubtitleRecord& record);
// Nothing for a text that is no record of this version.
std::optional<SubtitleRecord> ParseSubtitleRecord(const std::string& text);

// A part of the film, in whole seconds as the web API takes them; the last one ends where the film does or
// less than a second later.
struct SubtitleWindow {
  int64_t start = 0;
  int64_t end = 0;
  int64_t length_us = 0;  // up to the end of the film

  bool operator==(const SubtitleWindow&) const = default;
};
// Windows of 30 seconds; the last one takes what would make one of less than five.
std::vector<SubtitleWindow> CutIntoWindows(int64_t length_us);

std::string MakeSubtitlePlaylist(const SubtitleRecord& record, const std::string& id);

// The name of the playlist's file, made unless it is there; nothing when the stream offers no such subtitle,
// or, with a line in the log, when its folder cannot be read or written.
std::optional<std::string> ProvideSubtitlePlaylist(const StreamFolder& folder, const std::string& id);

}  // namespace kinora::engine
