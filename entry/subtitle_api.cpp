#include "entry/subtitle_api.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "contract/engine/video_metadata.h"
#include "contract/system/subtitle_files.h"
#include "entry/film_access.h"
#include "entry/flags.h"
#include "entry/subtitle_charset_guess.h"
#include "entry/subtitle_charsets.h"
#include "entry/subtitle_request.h"
#include "entry/subtitle_source.h"
#include "library/subtitle/output_subtitle.h"
#include "library/subtitle/subtitle_list.h"
#include "platform/base/file_time.h"
#include "platform/base/text.h"
#include "platform/media/catalog.h"

namespace kinora::entry {
namespace {

using crvnkn::webapi::subtitle::GetMethodArguments;
using crvnkn::webapi::subtitle::OutputSubtitle;

// Go before those of the library. What is there now may be more the next time, and other text in another
// charset.
constexpr char kOwnLines[] = "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n";

constexpr char kAutomatic[] = "auto";  // of charsets

// Without WebVTT a track is taken out of the film while the request waits; ffmpeg ends by itself before that.
constexpr std::chrono::seconds kLongestExtraction{11 * 60};

// What ffmpeg has turned into SubRip is in UTF-8 already, whatever charset its file was in.
bool HasCharset(const GetMethodArguments& arguments) {
  return !arguments.IsEmbedded() &&
         base::ToLowerAscii(libkn::subtitle::PathInfo(arguments.subtitle_id)["extension"].asString()) ==
             "srt";
}

bool IsAsScanned(const std::optional<media::Video>& video) {
  struct stat status {};
  return video && stat(video->path.c_str(), &status) == 0 && status.st_size == video->size &&
         base::NanosecondsOf(status.st_mtim) == video->modified_ns;
}

void DescribeFile(Json::Value& subtitle) {
  const std::string path = subtitle["id"].asString();
  const Json::Value info = libkn::subtitle::PathInfo(path);
  subtitle["file"] = path.substr(path.rfind('/') + 1);
  for (const char* key : {"forced", "hearing_impaired"}) subtitle[key] = info[key].asBool();
}

void DescribeTrack(const Json::Value& tracks, Json::Value& subtitle) {
  const std::string number = std::to_string(subtitle["id"].asInt());
  for (const Json::Value& track : tracks) {
    if (track["track"].asString() != number) continue;
    subtitle["codec"] = track["codec"];
    for (const char* key : {"default", "forced", "hearing_impaired"}) subtitle[key] = track[key].asBool();
  }
}

// The engine keeps its last look at a film, so this one costs nothing.
Json::Value TracksOf(const std::string& film) {
  Json::Value tracks(Json::arrayValue);
  LibCrvnVTE::VideoMetaData metadata;
  if (metadata.LoadFile(film)) metadata.GetSubtitleTrackInfo(tracks);
  return tracks;
}

}  // namespace

std::optional<Answer> ListSubtitles(Context& context) {
  const Request& request = context.GetRequest();
  const bool include_image = FlagParameter(request, "include_image", false);
  const std::string film = PathOfAllowedFilm(context, FilmParameter(request));
  context.CloseStore();

  const Json::Value list = crvnkn::webapi::subtitle::GetSubtitleList(film, include_image);
  Json::Value result;
  result["subtitles"] = Json::Value(Json::arrayValue);
  Json::Value tracks;
  for (Json::Value subtitle : list) {
    if (!subtitle["embedded"].asBool()) {
      DescribeFile(subtitle);
    } else {
      if (tracks.isNull()) tracks = TracksOf(film);
      DescribeTrack(tracks, subtitle);
    }
    result["subtitles"].append(subtitle);
  }
  return ResultAnswer(result);
}

std::optional<Answer> SendSubtitle(Context& context) {
  const Request& request = context.GetRequest();
  const int film = FilmParameter(request);
  GetMethodArguments arguments = MakeSubtitleArguments(context);
  arguments.video_path = PathOfAllowedFilm(context, film);
  const bool film_known =
      arguments.IsEmbedded() && IsAsScanned(media::Catalog(context.GetStore()).Find(film));
  context.CloseStore();
  if (const std::optional<Answer> refusal = RefusalOfSubtitle(arguments, film_known)) return refusal;
  if (!HasCharset(arguments)) {
    arguments.codepage = kAutomatic;
  } else if (arguments.codepage == kAutomatic) {
    arguments.codepage = GuessSubtitleCharset(arguments.subtitle_id);
  }

  alarm(static_cast<unsigned int>(kLongestExtraction.count()));
  OutputSubtitle subtitle(arguments);
  if (!subtitle.Process())
    return ErrorAnswer(kNotFound, "There is no text in this subtitle that can be shown");
  WriteAll(STDOUT_FILENO,
           kOwnLines + (request.verb == "HEAD" ? subtitle.GetHeader() : subtitle.GetContent()));
  return std::nullopt;
}

std::optional<Answer> ListCharsets(Context&) {
  Json::Value result;
  for (const SubtitleCharset& charset : SubtitleCharsets()) {
    Json::Value entry;
    entry["name"] = charset.name;
    entry["title"] = charset.title;
    result["charsets"].append(entry);
  }
  return ResultAnswer(result);
}

}  // namespace kinora::entry
