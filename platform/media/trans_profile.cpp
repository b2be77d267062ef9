#include "platform/media/trans_profile.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "platform/base/log.h"
#include "platform/media/data_file.h"
#include "platform/system/places.h"

namespace kinora::media {
namespace {

constexpr std::array kKinds = {"HLS", "VAAPI_HLS", "GST_HLS", "SS", "WEBM"};
constexpr std::array kH264Profiles = {"baseline", "main", "high"};
constexpr std::array kH264Levels = {"3.0", "3.1", "3.2", "4.0", "4.1", "4.2", "5.0", "5.1", "5.2"};
constexpr std::array kPresets = {"ultrafast", "superfast", "veryfast", "faster", "fast", "medium"};

const DataFile kFile("transcoding profiles");

// The text, which becomes an encoder's argument, is one of the list.
template <size_t kCount>
std::string OneOf(const std::array<const char*, kCount>& known, const Json::Value& json,
                  const std::string& name) {
  std::string text = kFile.TextAt(json, name);
  if (std::ranges::find(known, text) == known.end()) {
    kFile.Refuse("there is no " + name + " \"" + text + "\"");
  }
  return text;
}

ProfileUse UseOf(const Json::Value& json) {
  if (!json.isObject()) kFile.Refuse("\"uses\" holds something that is no object");
  return {OneOf(kKinds, json, "kind"), kFile.FlagAt(json, "remux"), kFile.FlagAt(json, "by_name")};
}

void ReadPicture(const Json::Value& json, TransProfile& profile) {
  profile.width = static_cast<int>(kFile.NumberAt(json, "width", 16, 8192));
  profile.height = static_cast<int>(kFile.NumberAt(json, "height", 16, 8192));
  profile.frame_rate = static_cast<int>(kFile.NumberAt(json, "frame_rate", 1, 240));
  profile.video_bitrate = kFile.NumberAt(json, "video_bitrate", 10'000, 1'000'000'000);
  profile.h264_profile = OneOf(kH264Profiles, json, "h264_profile");
  profile.h264_level = OneOf(kH264Levels, json, "h264_level");
  profile.preset = OneOf(kPresets, json, "preset");
}

bool NeedsPicture(const ProfileUse& use) { return !use.remux || use.kind != "HLS"; }

TransProfile ProfileOf(const Json::Value& json) {
  if (!json.isObject()) kFile.Refuse("a profile is no object");
  TransProfile profile;
  profile.name = kFile.TextAt(json, "name");
  if (profile.name.empty()) kFile.Refuse("a profile has no name");
  for (const Json::Value& use : kFile.ListAt(json, "uses")) profile.uses.push_back(UseOf(use));
  if (std::ranges::any_of(profile.uses, NeedsPicture)) ReadPicture(json, profile);
  profile.audio_bitrate = kFile.NumberAt(json, "audio_bitrate", 8'000, 1'000'000);
  profile.audio_channels = static_cast<int>(kFile.NumberAt(json, "audio_channels", 1, 8));
  return profile;
}

const ProfileUse* FindUse(const TransProfile& profile, const std::string& kind, bool remux) {
  const auto use = std::ranges::find_if(
      profile.uses, [&](const ProfileUse& one) { return one.kind == kind && one.remux == remux; });
  return use == profile.uses.end() ? nullptr : &*use;
}

bool Holds(const TransProfile& profile, const LibKinora::FrameInformation& frame) {
  return static_cast<int64_t>(frame.resolution_x) <= profile.width &&
         static_cast<int64_t>(frame.resolution_y) <= profile.height;
}

int64_t Area(const TransProfile& profile) { return int64_t{profile.width} * profile.height; }

// Whether `one` suits the frame better than `other` does.
bool SuitsBetter(const TransProfile& one, const TransProfile& other,
                 const LibKinora::FrameInformation& frame) {
  const bool holds = Holds(one, frame);
  if (holds != Holds(other, frame)) return holds;
  return holds ? Area(one) < Area(other) : Area(one) > Area(other);
}

}  // namespace

std::string InstalledTransProfiles(const std::string& kind) {
  return system::InTarget(kind == "GST_HLS" ? "etc/TransProfile_GST" : "etc/TransProfile");
}

std::vector<TransProfile> ParseTransProfiles(std::string_view text) {
  const Json::Value json = kFile.Parse(text);
  std::vector<TransProfile> profiles;
  for (const Json::Value& profile : kFile.ListAt(json, "profiles")) {
    profiles.push_back(ProfileOf(profile));
    const std::string& name = profiles.back().name;
    if (std::ranges::count(profiles, name, &TransProfile::name) > 1) {
      kFile.Refuse("\"" + name + "\" stands twice");
    }
  }
  return profiles;
}

std::vector<TransProfile> LoadTransProfiles(const std::string& path) {
  return ParseTransProfiles(kFile.Read(path));
}

std::optional<TransProfile> LoadTransProfile(const std::string& path, const std::string& name) {
  constexpr char kUnit[] = "media/trans_profile";
  try {
    for (TransProfile& profile : LoadTransProfiles(path)) {
      if (profile.name == name) return std::move(profile);
    }
    base::Log(LOG_ERR, kUnit, path + " has no profile \"" + name + "\"");
  } catch (const std::runtime_error& error) {
    base::Log(LOG_ERR, kUnit, path + ": " + error.what());
  }
  return std::nullopt;
}

std::string ChooseTransProfile(const std::vector<TransProfile>& profiles, const std::string& kind,
                               const std::string& wanted, bool remux,
                               const LibKinora::FrameInformation& frame) {
  const TransProfile* best = nullptr;
  for (const TransProfile& profile : profiles) {
    const ProfileUse* const use = FindUse(profile, kind, remux);
    if (use == nullptr) continue;
    if (profile.name == wanted) return wanted;
    if (!use->by_name && (best == nullptr || SuitsBetter(profile, *best, frame))) best = &profile;
  }
  return best == nullptr ? "" : best->name;
}

}  // namespace kinora::media
