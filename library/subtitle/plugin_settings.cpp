#include "library/subtitle/plugin_settings.h"

#include <array>
#include <cstring>

#include "contract/media/json_file.h"
#include "contract/system/crypt.h"
#include "library/log.h"
#include "library/subtitle/json_member.h"
#include "library/subtitle/plugin_log_unit.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr char kOpenSubtitles[] = "com.corvane.OpenSubtitles";
constexpr char kDefaultLanguage[] = "eng";
constexpr char kResultLimit[] = "5";

bool IsOn(const Json::Value& settings, const char* key) {
  bool on = false;
  return GetBoolMember(settings, key, on) && on;
}

// Nothing when there is none, or, with a line in the log, none that can be decrypted.
std::optional<std::string> Password(const Json::Value& settings) {
  std::string encrypted;
  if (!GetStringMember(settings, "opensubtitles_password", encrypted) || encrypted.empty())
    return std::nullopt;
  std::array<char, 256> clear{};
  if (HLIBCCryptSzDecrypt(encrypted.c_str(), clear.data(), static_cast<int>(clear.size())) == 0) {
    KINORA_LOG(LOG_ERR, kPluginLogUnit, "Failed to decrypt password [%s]", encrypted.c_str());
    return std::nullopt;
  }
  std::string password(clear.data());
  ::explicit_bzero(clear.data(), clear.size());
  return password;
}

std::vector<std::string> OpenSubtitlesSettings(const Json::Value& settings) {
  std::string language = kDefaultLanguage;
  GetStringMember(settings, "opensubtitles_language", language);
  std::vector<std::string> arguments{"--lang", language, "--limit", kResultLimit};
  std::string user;
  if (GetStringMember(settings, "opensubtitles_username", user) && !user.empty())
    arguments.insert(arguments.end(), {"--username", user});
  if (const std::optional<std::string> password = Password(settings))
    arguments.insert(arguments.end(), {"--password", *password});
  return arguments;
}

}  // namespace

Json::Value LoadAdvancedSettings() {
  constexpr char kFile[] = "/var/packages/Kinora/etc/advanced.conf";
  Json::Value settings(Json::objectValue);
  if (LibKinora::ReadJsonFromFile(kFile, settings)) return settings;
  KINORA_LOG(LOG_ERR, kPluginLogUnit, "Failed to load advanced conf [%s]", kFile);
  return Json::Value(Json::objectValue);
}

std::optional<std::vector<std::string>> SearchSettings(const std::string& plugin_id,
                                                       const Json::Value& settings) {
  std::vector<std::string> none;
  if (plugin_id == kShooter) {
    if (!IsOn(settings, "shooter_enable")) return std::nullopt;
    return none;
  }
  if (plugin_id == kOpenSubtitles) {
    if (!IsOn(settings, "opensubtitles_enable")) return std::nullopt;
    return OpenSubtitlesSettings(settings);
  }
  return none;
}

}  // namespace crvnkn::webapi::subtitle
