#include "library/subtitle/subtitle_discovery.h"

#include <syslog.h>

#include <fstream>
#include <set>

#include "library/subtitle/discovery_folder.h"
#include "tests/fakes/system_log.h"
#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::LogLines;
using kinora::fakes::Pauses;
using kinora::fakes::TheScript;
using Texts = std::vector<std::string>;

constexpr char kFilm[] = "/v/a film.mkv";
constexpr char kProbe[] = "/var/packages/Kinora/target/bin/ffprobe";

class SubtitleDiscoveryTest : public kinora::fakes::PluginTest {
 protected:
  SubtitleDiscoveryTest() {
    std::string name = testing::TempDir() + "discovery-XXXXXX";
    volume_ = ::mkdtemp(name.data());
    TheScript().available_volume.path = volume_;
    TheScript().execute = [this](const Texts& command) {
      return readable_.count(command.back()) != 0 ? 0 : 1;
    };
    TheScript().run = [this](const Texts& command) { return Run(command); };
  }
  ~SubtitleDiscoveryTest() override { std::filesystem::remove_all(volume_); }

  std::string Folder() const { return volume_ / "@tmp/Kinora/subtitle/cafe"; }
  std::string Target() const { return Folder() + "/a film.mkv"; }

  // A plug-in that finds one subtitle, and downloads it to this file; none: the download fails.
  void InstallFinding(const std::string& id, const std::string& file) {
    Install(id, "{\"items\": [{\"id\": \"1\"}]}");
    downloads_[id] = file;
  }
  int Run(const Texts& command) {
    const std::string plugin = std::filesystem::path(command[2]).parent_path().filename();
    TheScript().captured_output =
        command[5] == "search" ? outputs_[command[2]] : "{\"id\": \"" + downloads_[plugin] + "\"}";
    return command[5] == "download" && downloads_[plugin].empty() ? 1 : 0;
  }
  std::string Download(const std::string& id) const { return RunOf(id, "download", Target(), {"--id", "1"}); }
  static std::string ProbeOf(const std::string& file) {
    return std::string("HLIBCExec(\"") + kProbe + "\", \"-i\", \"" + file + "\")";
  }

  std::filesystem::path volume_;
  std::set<std::string> readable_;                // by ffprobe
  std::map<std::string, std::string> downloads_;  // by plug-in
};

TEST_F(SubtitleDiscoveryTest, FindsTheFirstSubtitleThatIsReadable) {
  InstallFinding("c", "/x/c.srt");
  InstallFinding("b", "/x/b.srt");
  InstallFinding("a", "/x/a.srt");
  readable_ = {"/x/b.srt", "/x/a.srt"};
  EXPECT_EQ(DiscoverSubtitle(kFilm), "/x/b.srt");
  EXPECT_EQ(CallsOf("run"), (Texts{RunOf("c", "search", kFilm), RunOf("b", "search", kFilm),
                                   RunOf("a", "search", kFilm), Download("c"), Download("b")}));
  EXPECT_EQ(CallsOf("HLIBCExec"), (Texts{ProbeOf("/x/c.srt"), ProbeOf("/x/b.srt")}));
}

TEST_F(SubtitleDiscoveryTest, TriesTheCandidatesOfShooterFirst) {
  Set("shooter_enable", true);
  InstallFinding("com.corvane.Shooter", "/x/shooter.srt");
  InstallFinding("z", "/x/z.srt");
  readable_ = {"/x/shooter.srt", "/x/z.srt"};
  EXPECT_EQ(DiscoverSubtitle(kFilm), "/x/shooter.srt");
}

TEST_F(SubtitleDiscoveryTest, MakesTheVideosFolderOnTheVolume) {
  InstallFinding("a", "/x/a.srt");
  readable_ = {"/x/a.srt"};
  DiscoverSubtitle(kFilm);
  EXPECT_EQ(CallsOf("GetMD5"), Texts{"GetMD5(\"/v/a film.mkv\")"});
  EXPECT_EQ(CallsOf("VolumeAvailGet"), Texts{"VolumeAvailGet(1048576, 0, 0)"});
  EXPECT_EQ(CallsOf("CRVNFSMkdirPKinora"), Texts{"CRVNFSMkdirPKinora(\"" + Folder() + "\", 511)"});
  EXPECT_EQ(CallsOf("GetExternalSubtitle"), Texts{"GetExternalSubtitle(\"" + Target() + "\")"});
}

TEST_F(SubtitleDiscoveryTest, ReusesWhatAnEarlierOneHasLeftWithoutAnyPlugin) {
  InstallFinding("a", "/x/a.srt");
  TheScript().external_subtitles = {"/x/left.srt", "/x/other.srt"};
  readable_ = {"/x/left.srt"};
  EXPECT_EQ(DiscoverSubtitle(kFilm), "/x/left.srt");
  EXPECT_EQ(CallsOf("run"), Texts());
  EXPECT_EQ(CallsOf("CRVNVideoLoadPluginFromFolder"), Texts());
  EXPECT_EQ(CallsOf("HLIBCExec"), Texts{ProbeOf("/x/left.srt")});
}

TEST_F(SubtitleDiscoveryTest, SearchesWhenTheFirstOneThatIsLeftIsNotReadable) {
  InstallFinding("a", "/x/a.srt");
  TheScript().external_subtitles = {volume_ / "left.srt", "/x/other.srt"};
  std::ofstream(volume_ / "left.srt") << "no subtitle";
  readable_ = {"/x/a.srt", "/x/other.srt"};
  EXPECT_EQ(DiscoverSubtitle(kFilm), "/x/a.srt");
  EXPECT_FALSE(std::filesystem::exists(volume_ / "left.srt"));
}

TEST_F(SubtitleDiscoveryTest, TriesEveryItemBeforeItGivesUp) {
  InstallFinding("c", "");
  InstallFinding("b", "/x/b.srt");
  Install("a", R"({"items": [{"id": ""}, {"more": 1}, {"id": "1"}]})");
  ExpectError(30000, "", [] { DiscoverSubtitle(kFilm); });
  EXPECT_EQ(CallsOf("run"), (Texts{RunOf("c", "search", kFilm), RunOf("b", "search", kFilm),
                                   RunOf("a", "search", kFilm), Download("c"), Download("c"), Download("c"),
                                   Download("b"), Download("a"), Download("a"), Download("a")}));
  EXPECT_EQ(Pauses(), std::vector<unsigned int>(6, 1000));
}

TEST_F(SubtitleDiscoveryTest, GoesOnWhenTheAnswerNamesNoFile) {
  for (const char* const answer : {"{}", "[]", "null", R"({"id": 7})", R"({"id": ""})"}) {
    Install("a", R"({"items": [{"id": "1"}]})");
    TheScript().run = [&](const Texts& command) {
      TheScript().captured_output = command[5] == "search" ? outputs_[command[2]] : answer;
      return 0;
    };
    ExpectError(30000, "", [] { DiscoverSubtitle(kFilm); });
    EXPECT_EQ(CallsOf("HLIBCExec"), Texts()) << answer;
  }
}

TEST_F(SubtitleDiscoveryTest, FindsNothingWithoutItems) {
  ExpectError(30000, "", [] { DiscoverSubtitle(kFilm); });
  Install("a");
  ExpectError(30000, "", [] { DiscoverSubtitle(kFilm); });
}

TEST_F(SubtitleDiscoveryTest, FailsWhenThePluginsCannotBeTold) {
  TheScript().load_plugins = false;
  ExpectError(101, "", [] { DiscoverSubtitle(kFilm); });
}

TEST_F(SubtitleDiscoveryTest, FailsWithoutABaseName) {
  for (const char* const path : {"", "/", "/v/"}) {
    kinora::fakes::Calls().clear();
    ExpectError(101, "", [path] { DiscoverSubtitle(path); });
    EXPECT_EQ(CallsOf("GetMD5"), Texts()) << path;
  }
}

TEST_F(SubtitleDiscoveryTest, FailsWhenItCannotBeToldWhatIsThere) {
  TheScript().list_external_subtitles = false;
  ExpectError(105, "", [] { DiscoverSubtitle(kFilm); });
  EXPECT_EQ(CallsOf("run"), Texts());
}

TEST_F(SubtitleDiscoveryTest, FailsWithoutADigest) {
  TheScript().digest = "";
  ExpectError(101, "", [] { DiscoverSubtitle(kFilm); });
  EXPECT_EQ(CallsOf("VolumeAvailGet"), Texts());
  EXPECT_EQ(CallsOf("GetExternalSubtitle"), Texts());
}

TEST_F(SubtitleDiscoveryTest, FailsWhenTheFolderCannotBeMade) {
  TheScript().make_folder = false;
  ExpectError(101, "", [] { DiscoverSubtitle(kFilm); });
  EXPECT_EQ(CallsOf("GetExternalSubtitle"), Texts());
}

class DiscoveryFolderTest : public SubtitleDiscoveryTest {};

TEST_F(DiscoveryFolderTest, IsNoneForNoPath) {
  EXPECT_EQ(MakeDiscoveryFolder(""), "");
  ExpectCalls({});
}

TEST_F(DiscoveryFolderTest, IsNoneWhenTheVolumesCannotBeTold) {
  TheScript().available_volumes = -1;
  TheScript().platform_error = 0x9A;
  EXPECT_EQ(MakeDiscoveryFolder(kFilm), "");
  ExpectLog({"subtitle/plugin:# VolumeAvailGet() failed!! crvnerr=[0x009A]"});
  EXPECT_EQ(LogLines()[0].priority, LOG_ERR);
  EXPECT_EQ(CallsOf("HLIBCErrSetEx"), Texts());
  ExpectError(101, "", [] { DiscoverSubtitle(kFilm); });
}

TEST_F(DiscoveryFolderTest, SaysInThePlatformsErrorWhyThereIsNoVolume) {
  TheScript().available_volumes = 0;
  for (const auto& [flags, code] : std::map<unsigned int, unsigned int>{
           {0, 0x8300}, {1, 0xDD00}, {2, 0x8300}, {3, 0xDD00}, {4, 0x2900}, {5, 0x2900}, {8, 0x8300}}) {
    TheScript().volume_flags = flags;
    EXPECT_EQ(MakeDiscoveryFolder(kFilm), "");
    EXPECT_EQ(TheScript().platform_error, code) << flags;
  }
  ExpectLog({});
  ExpectError(101, "", [] { DiscoverSubtitle(kFilm); });
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
