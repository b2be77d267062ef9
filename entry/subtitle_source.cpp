#include "entry/subtitle_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "contract/engine/video_metadata.h"
#include "contract/system/ea_dir.h"
#include "contract/system/subtitle_files.h"
#include "entry/failed_stream.h"
#include "library/subtitle/subtitle_list.h"
#include "platform/base/descriptor.h"
#include "platform/base/text.h"
#include "platform/engine/look.h"

namespace kinora::entry {
namespace {

using crvnkn::webapi::subtitle::GetMethodArguments;

constexpr char kDlnaId[] = "DLNA";
constexpr char kDlnaLink[] = "/CRVNVIDEO_SUBTITLE_DLNA.srt";
constexpr int kFolderBuffer = 4096;

std::optional<std::string> PathInListing(const std::string& film, const std::string& id) {
  Json::Value list(Json::arrayValue);
  if (libkn::subtitle::GetExternalSubtitle(film, list) != 0) {
    throw Error(kServiceFailure, "The film's folder cannot be read");
  }
  for (const Json::Value& entry : list) {
    std::string path = entry.asString();
    if (path == id || base::ToUtf8(path) == id) return path;
  }
  return std::nullopt;
}

// With the effective identity, which is not the one that the library reads with.
void RequireReadable(const std::string& path) {
  const base::Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (file && fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode)) return;
  throw Error(crvnkn::webapi::kErrorNoPermission, "The subtitle cannot be read");
}

std::string DlnaTarget(const std::string& film) {
  char folder[kFolderBuffer];
  if (GetEADirPath(film.c_str(), folder, sizeof folder) != 0) return {};
  std::string target(PATH_MAX, '\0');
  const std::string link = std::string(folder) + kDlnaLink;
  const ssize_t length = readlink(link.c_str(), target.data(), target.size());
  target.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return target;
}

std::optional<Answer> RefusalOfTrack(TrackKind kind) {
  switch (kind) {
    case TrackKind::kText:
      return std::nullopt;
    case TrackKind::kPictures:
      return ErrorAnswer(kNotFound, "This subtitle is made of pictures and cannot be had as text");
    case TrackKind::kMissing:
      return ErrorAnswer(kNotFound, "The film has no such subtitle");
    case TrackKind::kNoFilm:
      return ErrorAnswer(crvnkn::webapi::kErrorTracksUnreadable, "The tracks of the film cannot be read");
    case TrackKind::kBusy:
      break;
  }
  return FailedStreamAnswer({.exhausted = true});
}

}  // namespace

std::string FindSubtitleFile(const std::string& film, const std::string& id) {
  const std::optional<std::string> path = PathInListing(film, id);
  if (!path) throw Error(kNotFound, "The film has no such subtitle");
  RequireReadable(*path);
  return *path;
}

std::string FindDlnaSubtitle(const std::string& film) {
  const std::string target = DlnaTarget(film);
  if (target.empty()) throw Error(crvnkn::webapi::kErrorDlnaLink, "No subtitle was given to a DLNA renderer");
  return FindSubtitleFile(film, target);
}

TrackKind LookAtTrack(const std::string& film, int track) {
  LibCrvnVTE::VideoMetaData metadata;
  if (!metadata.LoadFile(film)) return engine::ProbeFile(film).busy ? TrackKind::kBusy : TrackKind::kNoFilm;
  if (!libkn::subtitle::IsAllowEmbaddedSubtitleContiner(metadata.GetContainer())) return TrackKind::kMissing;
  Json::Value tracks(Json::arrayValue);
  metadata.GetSubtitleTrackInfo(tracks);
  for (const Json::Value& entry : tracks) {
    if (entry["track"].asString() != std::to_string(track)) continue;
    const bool text = libkn::subtitle::IsTextBaseSubtitleCodec(entry["codec"].asString());
    return text ? TrackKind::kText : TrackKind::kPictures;
  }
  return TrackKind::kMissing;
}

std::optional<Answer> RefusalOfSubtitle(GetMethodArguments& arguments, bool film_known) {
  if (arguments.subtitle_id == kDlnaId) {
    arguments.subtitle_id = FindDlnaSubtitle(arguments.video_path);
    return std::nullopt;
  }
  if (!arguments.IsEmbedded()) {
    arguments.subtitle_id = FindSubtitleFile(arguments.video_path, arguments.subtitle_id);
    return std::nullopt;
  }
  const int track = std::atoi(arguments.subtitle_id.c_str());
  if (film_known && crvnkn::webapi::subtitle::IsEmbeddedSubtitleHasCached(arguments.video_path, track)) {
    return std::nullopt;
  }
  return RefusalOfTrack(LookAtTrack(arguments.video_path, track));
}

}  // namespace kinora::entry
