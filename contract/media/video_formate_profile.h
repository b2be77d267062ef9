// The format rules: in which formats a file may be delivered.
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

namespace LibKinora {

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
};

}  // namespace LibKinora
