#include "contract/engine/http_live_stream.h"

#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_space.h"
#include "platform/engine/vte_stream_state.h"

namespace LibCrvnVTE {

namespace engine = kinora::engine;

HttpLiveStream::HttpLiveStream(const std::string& stream_id) : AdaptStream(stream_id, "HLS") {}

bool HttpLiveStream::Init(const Json::Value& /*stream_url*/, const Json::Value& /*subtitle_url*/,
                          const std::string& /*audio_track*/, const std::string& /*audio_format*/) {
  if (state_->stream_id.empty()) {
    state_->error = engine::HasSpaceForAStream() ? "" : "TransSapceNotEnough";
    return false;
  }
  state_->error = "TransVideoNotSupported";
  Close();
  return false;
}

std::string HttpLiveStream::GetMainfest(const std::string& /*playlist_type*/,
                                        const std::string& /*subtitle_id*/) const {
  return "";
}

}  // namespace LibCrvnVTE
