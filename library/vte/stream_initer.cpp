#include "library/vte/stream_initer.h"

#include "contract/media/video_formate_profile.h"
#include "library/vte/format_fallback.h"

namespace crvnkn::webapi::vte {
namespace {

// In order of preference.
std::vector<SetUpRoutine> FormatTable(StreamIniter& initer) {
  return {
      {"hls", [&initer] { return initer.InitHLS(false); }},
      {"hls_remux", [&initer] { return initer.InitHLS(true); }},
      {"ss", [&initer] { return initer.InitSS(); }},
      {"webm_remux", [&initer] { return initer.InitWEBM(); }},
      {"raw", [&initer] { return initer.InitRAW(); }},
  };
}

// A member of the first track as text; empty when there is no track or it has no such member.
std::string FirstTrack(const Json::Value& tracks, const char* member) {
  if (!tracks.isArray() || tracks.empty() || !tracks[0].isObject()) return {};
  const Json::Value& value = tracks[0][member];
  return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
}

}  // namespace

StreamIniter::StreamIniter(const OpenArgument& argument) : OpenArgument(argument) {
  if (!metadata.LoadFile(file_path)) {
    throw Error(kErrorFormatsUndetermined, "Failed to get track information " + file_path);
  }
}

StreamIniter::StreamIniter(const LibCrvnVTE::VideoMetaData& loaded, const OpenArgument& argument)
    : OpenArgument(argument), metadata(loaded) {
  if (metadata.GetFilePath() != file_path) throw Error(kErrorBadParameter, "internal SetreamIniter error");
}

StreamIniter::~StreamIniter() = default;

void StreamIniter::LegacyProcess() {
  if (format.empty()) throw Error(kErrorBadParameter, "Bad parameter");
  if (file_path.empty()) throw Error(kErrorBadParameter, "file_path empty");
  const OpenedStream opened = OpenFirstAvailable(FormatTable(*this), DetermineAvailableFormats(), last_error);
  if (opened.id.empty()) throw Error(last_error);
  stream_format = opened.format;
  stream_id = opened.id;
}

std::vector<std::string> StreamIniter::DetermineAvailableFormats() const {
  Json::Value video_tracks(Json::arrayValue);
  Json::Value audio_tracks(Json::arrayValue);
  metadata.GetTrackInfo(video_tracks, audio_tracks);
  const bool default_audio = audio_track.empty() || audio_track == FirstTrack(audio_tracks, "id");

  std::vector<std::string> formats;
  LibKinora::VideoFormateProfile::DetermintStreamFormat(
      format, metadata.GetContainer(), metadata.GetVideoCodecName(), FirstTrack(audio_tracks, "codec"),
      audio_tracks, default_audio, formats);
  if (formats.empty()) throw Error(kErrorFormatsUndetermined, "DetermintStreamFormat failed");
  return formats;
}

}  // namespace crvnkn::webapi::vte
