#include "platform/engine/subtitle_search.h"

#include <algorithm>
#include <climits>

#include "contract/system/subtitle_files.h"
#include "platform/engine/report.h"
#include "platform/system/languages.h"

namespace kinora::engine {
namespace {

constexpr char kDlna[] = "DLNA";

FoundSubtitle ReadFile(const std::string& path) {
  const Json::Value told = libkn::subtitle::PathInfo(path);
  FoundSubtitle subtitle;
  subtitle.id = path;
  subtitle.language = TextOf(told, "language");
  subtitle.forced = FlagOf(told, "forced");
  subtitle.hearing_impaired = FlagOf(told, "hearing_impaired");
  return subtitle;
}

FoundSubtitle ReadTrack(const Json::Value& track) {
  FoundSubtitle subtitle;
  subtitle.id = std::to_string(NumberOf(track, "id", INT_MAX));
  subtitle.title = TextOf(track, "title");
  subtitle.language = system::LanguageTag(TextOf(track, "language"));
  subtitle.forced = FlagOf(track, "forced");
  subtitle.hearing_impaired = FlagOf(track, "hearing_impaired");
  return subtitle;
}

void AddFiles(const std::string& film, std::vector<FoundSubtitle>& found) {
  Json::Value list(Json::arrayValue);
  if (libkn::subtitle::GetExternalSubtitle(film, list) != 0) return;
  for (const Json::Value& path : list) {
    if (path.isString()) found.push_back(ReadFile(path.asString()));
  }
}

void AddTracks(const Json::Value& report, std::vector<FoundSubtitle>& found) {
  if (!libkn::subtitle::IsAllowEmbaddedSubtitleContiner(TextOf(report, "container"))) return;
  for (const Json::Value& track : report["subtitle"]) {
    if (track["id"].isInt() && libkn::subtitle::IsTextBaseSubtitleCodec(TextOf(track, "codec")))
      found.push_back(ReadTrack(track));
  }
}

}  // namespace

std::vector<FoundSubtitle> FindSubtitles(const Json::Value& report, const std::string& path,
                                         const std::string& chosen) {
  std::vector<FoundSubtitle> found;
  AddFiles(path, found);
  AddTracks(report, found);
  const bool may_be_there = chosen == kDlna || chosen.starts_with('/');
  if (may_be_there && std::ranges::find(found, chosen, &FoundSubtitle::id) == found.end())
    found.push_back(ReadFile(chosen));
  return found;
}

}  // namespace kinora::engine
