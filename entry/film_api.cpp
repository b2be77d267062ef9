#include "entry/film_api.h"

#include <unistd.h>

#include <cstdio>

#include "contract/system/file_output.h"
#include "entry/film_access.h"
#include "entry/header_hold.h"
#include "entry/numbers.h"
#include "library/video.h"
#include "platform/engine/picture_cache.h"

namespace kinora::entry {
namespace {

constexpr int64_t kLargestWidth = 1280;
constexpr int64_t kUsualWidth = 320;

}  // namespace

std::optional<Answer> SendPicture(Context& context) {
  const Request& request = context.GetRequest();
  const int id = FilmParameter(request);
  const auto width = static_cast<int>(NumberParameter(request, "width", 16, kLargestWidth, kUsualWidth));
  crvnkn::webapi::AssertVideoAllowed(id, static_cast<unsigned int>(context.account.id), "");
  const std::string path = crvnkn::webapi::GetFilePathByID(id);
  context.CloseStore();

  const std::optional<std::string> picture = engine::PictureOf(path, width);
  if (!picture || access(picture->c_str(), R_OK) != 0) throw Error(kNotFound, "No picture");
  const HeaderHold& hold =
      HoldStandardOutput("Cache-Control: private, max-age=3600\r\nX-Content-Type-Options: nosniff\r\n");
  const bool sent = HTTPFileOutputer::Output(picture->c_str(), "image/jpeg") == 0;
  std::fflush(stdout);
  if (!sent && !hold.Complete()) throw Error(kNotFound, "No picture");
  return std::nullopt;
}

std::optional<Answer> ListTracks(Context& context) {
  const std::string path = PathOfAllowedFilm(context, FilmParameter(context.GetRequest()));
  context.CloseStore();

  Json::Value tracks = crvnkn::webapi::GetTrackInfo(path);
  for (Json::Value& list : tracks) {
    if (list.isNull()) list = Json::Value(Json::arrayValue);
  }
  return ResultAnswer(tracks);
}

}  // namespace kinora::entry
