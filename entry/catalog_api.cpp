#include "entry/catalog_api.h"

#include <map>
#include <tuple>

#include "contract/media/video_formate_profile.h"
#include "entry/background_scan.h"
#include "entry/numbers.h"
#include "platform/media/scanner.h"

namespace kinora::entry {
namespace {

std::string FileName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

media::SortOrder SortParameter(const Request& request) {
  const std::string& name = request.Get("sort");
  if (name.empty() || name == "title") return media::SortOrder::kTitle;
  if (name == "newest") return media::SortOrder::kNewest;
  if (name == "duration") return media::SortOrder::kDuration;
  if (name == "size") return media::SortOrder::kSize;
  throw Error(crvnkn::webapi::kErrorBadParameter, "Bad parameter sort");
}

// Whether the format rules send a file as it is when the choice is left to them. One page holds few different
// combinations, so each is asked once.
class RawRule {
 public:
  bool Allows(const media::VideoFacts& facts) {
    const auto key = std::make_tuple(facts.container, facts.video_codec, facts.audio_codec);
    const auto known = known_.find(key);
    if (known != known_.end()) return known->second;
    return known_[key] = Ask(facts);
  }

 private:
  static bool Ask(const media::VideoFacts& facts) {
    Json::Value audio_tracks(Json::arrayValue);
    if (!facts.audio_codec.empty()) audio_tracks[0]["codec"] = facts.audio_codec;
    std::vector<std::string> formats;
    LibKinora::VideoFormateProfile::DetermintStreamFormat("auto", facts.container, facts.video_codec,
                                                          facts.audio_codec, audio_tracks, true, formats);
    return LibKinora::VideoFormateProfile::BlMatchFormat(formats, "raw");
  }

  std::map<std::tuple<std::string, std::string, std::string>, bool> known_;
};

}  // namespace

Json::Value ToJson(const media::Video& video, bool playable) {
  Json::Value json;
  json["id"] = video.id;
  json["title"] = media::ShownTitle(video);
  json["file"] = FileName(video.path);
  json["folder"] = video.folder;
  json["share"] = video.share;
  json["duration"] = Json::Int64{(video.facts.duration_ms + 500) / 1000};
  json["container"] = video.facts.container;
  json["video_codec"] = video.facts.video_codec;
  json["audio_codec"] = video.facts.audio_codec;
  json["width"] = video.facts.width;
  json["height"] = video.facts.height;
  json["size"] = Json::Int64{video.size};
  json["added"] = Json::Int64{video.added};
  json["playable"] = playable;
  return json;
}

std::optional<Answer> ListVideos(Context& context) {
  const Request& request = context.GetRequest();
  media::CatalogQuery query;
  query.offset = NumberParameter(request, "offset", 0, INT32_MAX, 0);
  query.limit = NumberParameter(request, "limit", 1, 1000, 100);
  query.search = request.Get("search");
  if (query.search.size() > 256) throw Error(crvnkn::webapi::kErrorBadParameter, "Bad parameter search");
  query.sort = SortParameter(request);
  const media::CatalogPage page = media::Catalog(context.GetStore()).List(query);

  RawRule rule;
  Json::Value result;
  result["total"] = Json::Int64{page.total};
  result["videos"] = Json::Value(Json::arrayValue);
  for (const media::Video& video : page.videos)
    result["videos"].append(ToJson(video, rule.Allows(video.facts)));
  return ResultAnswer(result);
}

std::optional<Answer> Rescan(Context&) {
  Json::Value result;
  result["started"] = !media::LastProgress().running && StartBackgroundScan();
  return ResultAnswer(result);
}

std::optional<Answer> ReportProgress(Context&) {
  const media::ScanProgress progress = media::LastProgress();
  Json::Value result;
  result["running"] = progress.running;
  result["found"] = Json::Int64{progress.found};
  result["looked_at"] = Json::Int64{progress.looked_at};
  result["to_look_at"] = Json::Int64{progress.to_look_at};
  result["added"] = Json::Int64{progress.added};
  result["changed"] = Json::Int64{progress.changed};
  result["moved"] = Json::Int64{progress.moved};
  result["removed"] = Json::Int64{progress.removed};
  result["refused"] = Json::Int64{progress.refused};
  result["waiting"] = Json::Int64{progress.waiting};
  result["current"] = FileName(progress.current);
  return ResultAnswer(result);
}

}  // namespace kinora::entry
