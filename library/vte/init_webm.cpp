// Setting a live WebM stream up: the engine plans it, and starts when it is asked for.
#include "contract/engine/webm_stream.h"
#include "contract/media/video_formate_profile.h"
#include "library/vte/stream_initer.h"
#include "library/vte/throw_vte_error.h"

namespace crvnkn::webapi::vte {
namespace {

using LibKinora::VideoFormateProfile;

constexpr char kType[] = "WEBM";
constexpr char kProfileFile[] = "/var/packages/Kinora/target/etc/TransProfile";

}  // namespace

std::string StreamIniter::InitWEBM() {
  RemoveTimeoutVTEDir();
  const std::string profile_name = VideoFormateProfile::DetermineTransProfile(
      kType, file_path, profile, true,
      {metadata.GetVideoResolutionX(), metadata.GetVideoResolutionY(), metadata.GetVideoCodecName()});
  if (profile_name.empty()) throw Error(kErrorStreamSetup, "failed to determine profile");

  const LibCrvnVTE::VTEInitArgument argument(file_path, kType, kProfileFile, profile_name);
  LibCrvnVTE::WebMStream stream(LibCrvnVTE::VTEStream::VTE_Init(argument));
  if (!stream.Init(audio_track)) ThrowVTEError(stream.GetErrorString());
  return stream.GetStreamID();
}

}  // namespace crvnkn::webapi::vte
