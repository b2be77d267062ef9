#include "library/subtitle/subtitle_list.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>

#include "contract/engine/video_metadata.h"
#include "contract/system/subtitle_files.h"
#include "library/subtitle/extraction.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr char kText[] = "srt";  // what all text is delivered as
constexpr const char* kTextExtensions[] = {"srt", "ssa", "ass", "smi", "sami"};

bool IsTextExtension(const std::string& extension) {
  return std::any_of(std::begin(kTextExtensions), std::end(kTextExtensions),
                     [&](const char* text) { return strcasecmp(extension.c_str(), text) == 0; });
}

// Empty: not to be listed.
std::string FormatOf(const std::string& codec, bool include_image) {
  if (libkn::subtitle::IsTextBaseSubtitleCodec(codec)) return kText;
  if (include_image && codec == "hdmv_pgs_subtitle") return "pgs";
  return include_image && codec == "dvd_subtitle" ? "dvdsub" : "";
}

Json::Value EmbeddedEntry(const Json::Value& track) {
  Json::Value entry(Json::objectValue);
  entry["id"] = track["track"];
  entry["lang"] = track["language"];
  entry["title"] = track["title"];
  entry["format"] = track["format"];
  entry["embedded"] = true;
  entry["need_preview"] = track["need_preview"];
  return entry;
}

}  // namespace

Json::Value FillExternalSubtitleInfo(const std::string& path) {
  const Json::Value info = libkn::subtitle::PathInfo(path);
  Json::Value entry(Json::objectValue);
  entry["id"] = path;
  entry["lang"] = info["language"];
  entry["title"] = "";
  if (IsTextExtension(info["extension"].asString())) entry["format"] = kText;
  entry["embedded"] = false;
  entry["need_preview"] = false;
  return entry;
}

int GetEmbeddedSubtitle(const std::string& video_path, bool include_image, Json::Value& tracks) {
  LibCrvnVTE::VideoMetaData metadata;
  if (!metadata.LoadFile(video_path)) return -1;
  if (!libkn::subtitle::IsAllowEmbaddedSubtitleContiner(metadata.GetContainer())) return -1;
  Json::Value streams(Json::arrayValue);
  if (!metadata.GetSubtitleTrackInfo(streams)) return -1;
  for (Json::Value stream : streams) {
    const std::string format = FormatOf(stream["codec"].asString(), include_image);
    if (format.empty()) continue;
    const int track = static_cast<int>(std::strtol(stream["track"].asString().c_str(), nullptr, 10));
    stream["format"] = format;
    stream["track"] = track;
    stream["need_preview"] = format == kText && !IsEmbeddedSubtitleHasCached(video_path, track);
    tracks.append(stream);
  }
  return 0;
}

Json::Value GetSubtitleList(const std::string& video_path, bool include_image) {
  Json::Value list(Json::arrayValue);
  Json::Value files(Json::arrayValue);
  libkn::subtitle::GetExternalSubtitle(video_path, files);
  for (const Json::Value& file : files) list.append(FillExternalSubtitleInfo(file.asString()));
  Json::Value tracks(Json::arrayValue);
  GetEmbeddedSubtitle(video_path, include_image, tracks);
  for (const Json::Value& track : tracks) list.append(EmbeddedEntry(track));
  return list;
}

bool IsExternal(const std::string& id) { return !id.empty() && id.front() == '/'; }

bool IsInternal(const std::string& id) {
  return std::all_of(id.begin(), id.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace crvnkn::webapi::subtitle
