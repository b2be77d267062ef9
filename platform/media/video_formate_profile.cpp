#include "contract/media/video_formate_profile.h"

#include <strings.h>

#include <algorithm>
#include <stdexcept>

#include "platform/base/log.h"
#include "platform/media/format_rules.h"
#include "platform/media/trans_profile.h"

namespace LibKinora {
namespace {

namespace base = kinora::base;
namespace media = kinora::media;

constexpr char kUnit[] = "media/video_formate_profile";
constexpr char kUnknown[] = "unknown_codec";

// Whatever the list holds, without an exception of the JSON library.
std::vector<std::string> CodecsOf(const Json::Value& audio_tracks) {
  std::vector<std::string> codecs;
  if (!audio_tracks.isArray()) return codecs;
  for (const Json::Value& track : audio_tracks) {
    const bool named = track.isObject() && track["codec"].isString();
    codecs.push_back(named ? track["codec"].asString() : kUnknown);
  }
  return codecs;
}

}  // namespace

bool ForceFFmpegTranscoding(const std::string& /*container*/, const std::string& /*video_codec*/,
                            const std::string& /*video_profile*/) {
  return true;
}

bool VideoFormateProfile::DetermintStreamFormat(const std::string& format, const std::string& container,
                                                const std::string& video_codec,
                                                const std::string& audio_codec,
                                                const Json::Value& audio_tracks, bool default_audio,
                                                std::vector<std::string>& formats) {
  media::FormatRules rules;
  try {
    rules = media::LoadFormatRules(media::InstalledFormatRules());
  } catch (const std::runtime_error& error) {
    base::Log(LOG_ERR, kUnit, error.what());
    return false;
  }
  const media::FormatTraits traits{container, video_codec, audio_codec, CodecsOf(audio_tracks),
                                   default_audio};
  const std::vector<media::FormatDecision> decisions = media::DecideFormats(rules, traits);
  for (const media::FormatDecision& decision : decisions) {
    base::Log(LOG_DEBUG, kUnit, decision.name + ": " + decision.reason);
  }
  for (std::string& name : media::ChooseFormats(decisions, format)) formats.push_back(std::move(name));
  return true;
}

bool VideoFormateProfile::BlMatchFormat(const std::vector<std::string>& available, const std::string& name) {
  return std::ranges::any_of(available, [&](const std::string& one) {
    return one.size() == name.size() && ::strcasecmp(one.c_str(), name.c_str()) == 0;
  });
}

std::string VideoFormateProfile::DetermineTransProfile(const std::string& kind, const std::string& path,
                                                       const std::string& profile, bool remux,
                                                       const FrameInformation& frame) {
  std::string name;
  try {
    name = media::ChooseTransProfile(media::LoadTransProfiles(media::InstalledTransProfiles(kind)), kind,
                                     profile, remux, frame);
  } catch (const std::runtime_error& error) {
    base::Log(LOG_ERR, kUnit, error.what());
    return "";
  }
  if (name.empty()) base::Log(LOG_ERR, kUnit, "no transcoding profile of " + kind + " fits " + path);
  return name;
}

}  // namespace LibKinora
