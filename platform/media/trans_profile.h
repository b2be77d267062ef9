// The transcoding profiles as data (packaging/TransProfile describes the file).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contract/media/video_formate_profile.h"

namespace kinora::media {

// How a film is encoded. Sizes and rates are limits: a picture is never made larger, a rate never higher.
struct TransProfile {
  std::string name;
  std::vector<std::string> kinds;  // the pipelines that it serves: "HLS", "VAAPI_HLS", ...
  bool remux = false;              // the video is copied; only the audio part counts
  int width = 0;                   // pixels; the picture is fitted into this box
  int height = 0;
  int frame_rate = 0;               // frames a second at most
  int64_t video_bitrate = 0;        // bits per second at most
  std::string h264_profile;         // "high", "main", "baseline"
  std::string h264_level;           // "4.0"
  std::string preset = "veryfast";  // of the software encoder
  int64_t audio_bitrate = 128000;   // bits per second, for two channels
  int audio_channels = 2;           // at most

  bool operator==(const TransProfile&) const = default;
};

// Throws std::runtime_error, with words for people, when the text is no such file.
std::vector<TransProfile> ParseTransProfiles(std::string_view text);

// The profile of this name in the file. Nothing, with a line in the log, when the file cannot be read or has
// none of this name.
std::optional<TransProfile> LoadTransProfile(const std::string& path, const std::string& name);

// The name to use for what was asked for, as DetermineTransProfile has it; empty when none fits.
std::string ChooseTransProfile(const std::vector<TransProfile>& profiles, const std::string& kind,
                               const std::string& wanted, bool remux,
                               const LibKinora::FrameInformation& frame);

}  // namespace kinora::media
