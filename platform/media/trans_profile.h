// The transcoding profiles as data (packaging/TransProfile describes the file).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contract/media/video_formate_profile.h"

namespace kinora::media {

// What a profile is good for.
struct ProfileUse {
  std::string kind;      // the pipeline: "HLS", "VAAPI_HLS", "GST_HLS", "SS", "WEBM"
  bool remux = false;    // for requests to copy the video; what cannot be copied after all is encoded
  bool by_name = false;  // only for those who ask for the profile by its name

  bool operator==(const ProfileUse&) const = default;
};

// How a film is encoded. Sizes and rates are limits: a picture is never made larger, a rate never higher.
struct TransProfile {
  std::string name;
  std::vector<ProfileUse> uses;

  // The picture. All 0 and empty in a profile that serves only to copy it into HLS.
  int width = 0;  // pixels; the picture is fitted into this box
  int height = 0;
  int frame_rate = 0;               // frames a second at most
  int64_t video_bitrate = 0;        // bits per second at most
  std::string h264_profile;         // "high", "main", "baseline"
  std::string h264_level;           // "4.0"
  std::string preset = "veryfast";  // of the software encoder

  int64_t audio_bitrate = 128000;  // bits per second, for two channels
  int audio_channels = 2;          // at most

  bool operator==(const TransProfile&) const = default;
};

// The installed file that holds the profiles of the pipeline.
std::string InstalledTransProfiles(const std::string& kind);

// Throws std::runtime_error, with words for people, when the text is no such file.
std::vector<TransProfile> ParseTransProfiles(std::string_view text);
// The same of a file.
std::vector<TransProfile> LoadTransProfiles(const std::string& path);

// The profile of this name in the file. Nothing, with a line in the log, when the file cannot be read or has
// none of this name.
std::optional<TransProfile> LoadTransProfile(const std::string& path, const std::string& name);

// The name to use for what was asked for, as DetermineTransProfile has it: the wanted profile if it serves
// the pipeline, else the one with the smallest box that holds the whole frame, else the one with the largest.
// Empty when there is none for the pipeline.
std::string ChooseTransProfile(const std::vector<TransProfile>& profiles, const std::string& kind,
                               const std::string& wanted, bool remux,
                               const LibKinora::FrameInformation& frame);

}  // namespace kinora::media
