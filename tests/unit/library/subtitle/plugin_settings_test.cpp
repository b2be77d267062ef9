#include "library/subtitle/plugin_settings.h"

#include <syslog.h>

#include "tests/fakes/system_log.h"
#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::LogLines;
using kinora::fakes::TheScript;
using Arguments = std::vector<std::string>;

constexpr char kOther[] = "org.example.Zeta";
constexpr char kOpenSubtitles[] = "com.corvane.OpenSubtitles";

class PluginSettingsTest : public kinora::fakes::PluginTest {
 protected:
  // What the plug-in is told with the settings that were set.
  static std::optional<Arguments> Told(const std::string& id) {
    return SearchSettings(id, LoadAdvancedSettings());
  }
  static Arguments ToldOpenSubtitles() {
    Set("opensubtitles_enable", true);
    return Told(kOpenSubtitles).value_or(Arguments{"switched off"});
  }
};

// Values that are no "true".
const Json::Value kNotOn[] = {
    Json::Value(false), Json::Value("true"),           Json::Value(1),
    Json::Value(),      Json::Value(Json::arrayValue), Json::Value(Json::objectValue)};

TEST_F(PluginSettingsTest, SwitchTheKnownPluginsOnByTrueAlone) {
  for (const auto& [id, key] :
       {std::pair(kShooter, "shooter_enable"), std::pair(kOpenSubtitles, "opensubtitles_enable")}) {
    Set("unrelated", 1);
    EXPECT_EQ(Told(id), std::nullopt) << id;
    for (const Json::Value& value : kNotOn) {
      Set(key, value);
      EXPECT_EQ(Told(id), std::nullopt) << id << value;
    }
    Set(key, true);
    EXPECT_NE(Told(id), std::nullopt) << id;
  }
}

TEST_F(PluginSettingsTest, TellShooterNothing) {
  Set("shooter_enable", true);
  EXPECT_EQ(Told(kShooter), Arguments());
}

TEST_F(PluginSettingsTest, LetEveryOtherPluginRunAndTellItNothing) {
  Set("shooter_enable", false);
  Set("opensubtitles_enable", false);
  for (const char* const id : {kOther, "com.corvane.shooter", "com.corvane.OpenSubtitles2", ""})
    EXPECT_EQ(Told(id), Arguments()) << id;
}

TEST_F(PluginSettingsTest, OfAnotherTypeThanAnObjectSwitchNothingOn) {
  for (const Json::Value& settings :
       {Json::Value(), Json::Value(Json::arrayValue), Json::Value("shooter_enable"), Json::Value(true)}) {
    EXPECT_EQ(SearchSettings(kShooter, settings), std::nullopt) << settings;
    EXPECT_EQ(SearchSettings(kOther, settings), Arguments()) << settings;
  }
}

TEST_F(PluginSettingsTest, ThatCannotBeReadAreLoggedAndLetOtherPluginsRun) {
  EXPECT_EQ(Told(kShooter), std::nullopt);
  EXPECT_EQ(Told(kOpenSubtitles), std::nullopt);
  EXPECT_EQ(Told(kOther), Arguments());
  const std::string line =
      "subtitle/plugin:# Failed to load advanced conf [/var/packages/Kinora/etc/advanced.conf]";
  ExpectLog({line, line, line});
  EXPECT_EQ(LogLines()[0].priority, LOG_ERR);
}

TEST_F(PluginSettingsTest, TellOpenSubtitlesEnglishAndALimitByDefault) {
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "eng", "--limit", "5"}));
  for (const Json::Value& value : {Json::Value(7), Json::Value(), Json::Value(Json::arrayValue)}) {
    Set("opensubtitles_language", value);
    Set("opensubtitles_username", value);
    Set("opensubtitles_password", value);
    EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "eng", "--limit", "5"})) << value;
  }
  EXPECT_EQ(CallsOf("HLIBCCryptSzDecrypt"), Arguments());
  ExpectLog({});
}

TEST_F(PluginSettingsTest, TellTheLanguageEvenWhenItIsEmpty) {
  Set("opensubtitles_language", "fre,ger");
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "fre,ger", "--limit", "5"}));
  Set("opensubtitles_language", "");
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "", "--limit", "5"}));
}

TEST_F(PluginSettingsTest, TellTheUserWhenThereIsOne) {
  Set("opensubtitles_username", "");
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "eng", "--limit", "5"}));
  Set("opensubtitles_username", "--jane doe");
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "eng", "--limit", "5", "--username", "--jane doe"}));
}

TEST_F(PluginSettingsTest, TellTheDecryptedPassword) {
  Set("opensubtitles_username", "jane");
  Set("opensubtitles_password", "stored");
  EXPECT_EQ(ToldOpenSubtitles(),
            (Arguments{"--lang", "eng", "--limit", "5", "--username", "jane", "--password", "clear stored"}));
  EXPECT_EQ(CallsOf("HLIBCCryptSzDecrypt"), Arguments{R"(HLIBCCryptSzDecrypt("stored", 256))"});
  ExpectLog({});
}

TEST_F(PluginSettingsTest, TellThePasswordWithoutAUserToo) {
  Set("opensubtitles_password", "stored");
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "eng", "--limit", "5", "--password", "clear stored"}));
}

TEST_F(PluginSettingsTest, DecryptNoEmptyPassword) {
  Set("opensubtitles_password", "");
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "eng", "--limit", "5"}));
  EXPECT_EQ(CallsOf("HLIBCCryptSzDecrypt"), Arguments());
}

TEST_F(PluginSettingsTest, LeaveOutAPasswordThatCannotBeDecryptedAndLogIt) {
  TheScript().decrypt = false;
  Set("opensubtitles_username", "jane");
  Set("opensubtitles_password", "stored");
  EXPECT_EQ(ToldOpenSubtitles(), (Arguments{"--lang", "eng", "--limit", "5", "--username", "jane"}));
  ExpectLog({"subtitle/plugin:# Failed to decrypt password [stored]"});
  EXPECT_EQ(LogLines()[0].priority, LOG_ERR);
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
