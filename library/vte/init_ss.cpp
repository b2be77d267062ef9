// Setting a Smooth Streaming stream up: the engine plans it and begins with the film's first picture.
#include "contract/engine/smooth_stream.h"
#include "contract/media/video_formate_profile.h"
#include "library/vte/stream_initer.h"
#include "library/vte/throw_vte_error.h"
#include "library/vte/utils.h"

namespace crvnkn::webapi::vte {
namespace {

using LibKinora::VideoFormateProfile;

constexpr char kType[] = "SS";
constexpr char kProfileFile[] = "/var/packages/Kinora/target/etc/TransProfile";
constexpr char kFirstFragment[] = "QualityLevels(1500000)/Fragments(video=0)";

}  // namespace

std::string StreamIniter::InitSS() {
  if (host_prefix.empty() || cgi_path.empty() || api.empty()) {
    throw Error(kErrorStreamSetup, "VTE SS - Failed to get HX ip and port");
  }
  const std::string profile_name = VideoFormateProfile::DetermineTransProfile(
      kType, file_path, profile, false,
      {metadata.GetVideoResolutionX(), metadata.GetVideoResolutionY(), metadata.GetVideoCodecName()});
  if (profile_name.empty()) throw Error(kErrorStreamSetup, "failed to determine profile");
  RemoveTimeoutVTEDir();

  const Json::Value stream_url = GetSSJsonStreamURL();
  const LibCrvnVTE::VTEInitArgument argument(file_path, kType, kProfileFile, profile_name);
  LibCrvnVTE::SmoothStream stream(LibCrvnVTE::VTEStream::VTE_Init(argument));
  if (!stream.Init(stream_url, Json::Value(), audio_track, "")) ThrowVTEError(stream.GetErrorString());

  // The mark keeps the stream from the sweeps until the player's first request.
  RecordAccessStatus(stream.GetVTEFileFullPath("access_status"));
  // Only a head start: a player that finds no fragment there asks for it again, and is told what is wrong.
  stream.Transcoding(kFirstFragment);
  return stream.GetStreamID();
}

}  // namespace crvnkn::webapi::vte
