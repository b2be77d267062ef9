// Setting an HLS stream up: which pipeline and which profile, then the engine plans the stream.
#include <algorithm>
#include <iterator>

#include "contract/engine/http_live_stream.h"
#include "contract/media/video_formate_profile.h"
#include "contract/system/platform_utils.h"
#include "library/vte/stream_initer.h"
#include "library/vte/throw_vte_error.h"

namespace crvnkn::webapi::vte {
namespace {

using LibKinora::VideoFormateProfile;

constexpr char kType[] = "HLS";
constexpr const char* kAudioFormats[] = {"ac3_copy", "aac", "mp3"};

// One of the engine's pipelines, and the file of the profiles made for it.
struct Pipeline {
  const char* kind;
  const char* profile_file;
};
constexpr Pipeline kPlain{"HLS", "/var/packages/Kinora/target/etc/TransProfile"};
constexpr Pipeline kVaapi{"VAAPI_HLS", "/var/packages/Kinora/target/etc/TransProfile"};
constexpr Pipeline kGst{"GST_HLS", "/var/packages/Kinora/target/etc/TransProfile_GST"};

// A video that is copied needs none of the special pipelines.
Pipeline ChoosePipeline(bool remux, const LibCrvnVTE::VideoMetaData& metadata) {
  if (remux) return kPlain;
  if (libkn::util::PlatformUtils::GetInst().IsVaapiFFmpegEnabled()) return kVaapi;
  const bool force_ffmpeg = LibKinora::ForceFFmpegTranscoding(
      metadata.GetContainer(), metadata.GetVideoCodecName(), metadata.GetVideoProfile());
  return force_ffmpeg ? kPlain : kGst;
}

// Compared exactly, case included.
bool IsAudioFormat(const std::string& name) {
  return std::find(std::begin(kAudioFormats), std::end(kAudioFormats), name) != std::end(kAudioFormats);
}

// Throws Error for a request that the engine cannot be asked to stream.
void Prepare(OpenArgument& request) {
  if (request.host_prefix.empty() || request.cgi_path.empty() || request.api.empty()) {
    throw Error(kErrorStreamSetup, "VTE - Failed to get HX ip and port");
  }
  // Stays for the formats that are tried after this one.
  if (request.client == "chromecast" && (request.profile == "hd_high" || request.profile == "sd_high")) {
    request.profile = "appletv_hd_high";
  }
  if (request.sid.empty() && !request.is_sharing) {
    throw Error(kErrorStreamSetup, "Failed to get session id from cookie");
  }
  if (!request.audio_format.empty() && !IsAudioFormat(request.audio_format)) {
    throw Error(kErrorAudioNotSupported, "audio_format params Invalild.");
  }
}

}  // namespace

std::string StreamIniter::InitHLS(bool remux) {
  Prepare(*this);
  const Json::Value stream_url = GetJsonStreamURL();
  const Json::Value subtitle_url = GetJsonSubtitleURL();
  RemoveTimeoutVTEDir();

  const Pipeline pipeline = ChoosePipeline(remux, metadata);
  const std::string profile_name = VideoFormateProfile::DetermineTransProfile(
      pipeline.kind, metadata.GetFilePath(), profile, remux,
      {metadata.GetVideoResolutionX(), metadata.GetVideoResolutionY(), metadata.GetVideoCodecName()});
  if (profile_name.empty()) throw Error(kErrorStreamSetup, "failed to determine profile");

  LibCrvnVTE::VTEInitArgument argument(metadata.GetFilePath(), kType, pipeline.profile_file, profile_name);
  argument.url = stream_url;
  argument.client = client;
  argument.file_size = metadata.GetFileSize();
  argument.flag = engine_flag != 0;
  LibCrvnVTE::HttpLiveStream stream(LibCrvnVTE::VTEStream::VTE_Init(argument));
  if (!stream.Init(stream_url, subtitle_url, audio_track, audio_format)) {
    ThrowVTEError(stream.GetErrorString());
  }
  return stream.GetStreamID();
}

}  // namespace crvnkn::webapi::vte
