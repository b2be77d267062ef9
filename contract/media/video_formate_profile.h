// The format rules: in which formats a file may be delivered.
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

namespace LibKinora {

// What of a video the choice of a transcoding profile depends on.
struct FrameInformation {
  unsigned int resolution_x = 0;  // pixels, as coded; 0: there is no picture
  unsigned int resolution_y = 0;
  std::string video_codec;  // VideoMetaData's name
};

// Whether the file must go through the ffmpeg pipeline. There is no other: true for every file.
bool ForceFFmpegTranscoding(const std::string& container, const std::string& video_codec,
                            const std::string& video_profile);

class VideoFormateProfile {
 public:
  // Appends to `formats` the names ("hls", "hls_remux", "ss", "webm_remux", "raw") that both the request and
  // the rules allow.
  //   format         what was asked for: one or several of these names separated by commas, or "auto", the
  //                  cheapest way that plays: "raw" where browsers take the file as it is, else what can be
  //                  copied, else what is converted, and "raw" again where nothing else is allowed. Names
  //                  compare without regard to case; an unknown one allows nothing.
  //   container, video_codec, audio_codec   as VideoMetaData names them; audio_codec is empty for a file
  //                  without sound
  //   audio_tracks   VideoMetaData's list
  //   default_audio  false when the viewer chose another track than the first: then the file cannot go out as
  //                  it is, and a copy must suit every track
  // "raw" is allowed for every file to those who ask for it by name: some players take what browsers do not.
  // Returns false, with a line in the system log, when the rules cannot be read; then nothing is appended.
  // The reason of each decision is logged at debug priority.
  static bool DetermintStreamFormat(const std::string& format, const std::string& container,
                                    const std::string& video_codec, const std::string& audio_codec,
                                    const Json::Value& audio_tracks, bool default_audio,
                                    std::vector<std::string>& formats);

  // Whether `name` is one of `available`, without regard to case.
  static bool BlMatchFormat(const std::vector<std::string>& available, const std::string& name);

  // The name of the transcoding profile to use, out of the profile file that belongs to the pipeline.
  //   kind     the pipeline: "HLS", "VAAPI_HLS", "GST_HLS", "SS" or "WEBM"
  //   path     the video, absolute
  //   profile  the quality that was asked for ("hd_high", "sd_high", "appletv_hd_high", "low"); empty: the
  //            best that suits the frame; one that the file does not know counts as empty
  //   remux    the video is to be copied; the profile says what becomes of the rest
  // A picture is never made larger. Empty, with a line in the system log, when no profile fits or the profile
  // file cannot be read.
  static std::string DetermineTransProfile(const std::string& kind, const std::string& path,
                                           const std::string& profile, bool remux,
                                           const FrameInformation& frame);
};

}  // namespace LibKinora
