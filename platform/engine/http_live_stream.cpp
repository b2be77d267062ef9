#include "contract/engine/http_live_stream.h"

#include "platform/base/log.h"
#include "platform/engine/playlists.h"
#include "platform/engine/stream_opening.h"
#include "platform/engine/subtitle_playlist.h"
#include "platform/engine/vte_stream_state.h"

namespace LibCrvnVTE {
namespace {

namespace engine = kinora::engine;

constexpr char kUnit[] = "engine/http_live_stream";

}  // namespace

HttpLiveStream::HttpLiveStream(const std::string& stream_id) : AdaptStream(stream_id, "HLS") {}

bool HttpLiveStream::Init(const Json::Value& stream_url, const Json::Value& subtitle_url,
                          const std::string& audio_track, const std::string& audio_format) {
  const auto folder = engine::StreamFolder::Open(state_->type, state_->stream_id);
  if (state_->IsOpen(folder ? engine::OpenHls(*folder, stream_url, subtitle_url, {audio_track, audio_format})
                            : engine::WhyNotPrepared()))
    return true;
  Close();
  return false;
}

std::string HttpLiveStream::GetMainfest(const std::string& playlist_type,
                                        const std::string& subtitle_id) const {
  const auto folder = engine::StreamFolder::Open(state_->type, state_->stream_id);
  if (!folder) return "";
  if (playlist_type == engine::kSubtitlePlaylist) {
    const std::optional<std::string> made = engine::ProvideSubtitlePlaylist(*folder, subtitle_id);
    return made ? folder->Path(*made) : "";
  }
  const std::optional<std::string> file = engine::PlaylistFile(playlist_type);
  const std::optional<std::string> playlist = file ? folder->Read(*file) : std::nullopt;
  if (!playlist) return "";
  if (engine::IsWholePlaylist(*playlist)) return folder->Path(*file);
  kinora::base::Log(LOG_ERR, kUnit,
                    "The playlist " + *file + " of the stream " + state_->stream_id + " is torn");
  return "";
}

}  // namespace LibCrvnVTE
