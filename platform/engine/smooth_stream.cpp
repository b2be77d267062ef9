#include "contract/engine/smooth_stream.h"

#include "platform/base/log.h"
#include "platform/engine/smooth_manifest.h"
#include "platform/engine/stream_opening.h"
#include "platform/engine/vte_stream_state.h"

namespace LibCrvnVTE {
namespace {

namespace engine = kinora::engine;

constexpr char kUnit[] = "engine/smooth_stream";

}  // namespace

SmoothStream::SmoothStream(const std::string& stream_id) : AdaptStream(stream_id, "SS") {}

bool SmoothStream::Init(const Json::Value& /*stream_url*/, const Json::Value& /*reserved*/,
                        const std::string& audio_track, const std::string& audio_format) {
  const auto folder = engine::StreamFolder::Open(state_->type, state_->stream_id);
  if (state_->IsOpen(folder ? engine::OpenSmooth(*folder, {audio_track, audio_format})
                            : engine::WhyNotPrepared()))
    return true;
  Close();
  return false;
}

std::string SmoothStream::GetMainfest() const {
  const auto folder = engine::StreamFolder::Open(state_->type, state_->stream_id);
  const std::optional<std::string> manifest = folder ? folder->Read(engine::kSmoothManifest) : std::nullopt;
  if (!manifest) return "";
  if (engine::IsWholeSmoothManifest(*manifest)) return folder->Path(engine::kSmoothManifest);
  kinora::base::Log(LOG_ERR, kUnit, "The manifest of the stream " + state_->stream_id + " is torn");
  return "";
}

}  // namespace LibCrvnVTE
