#include "library/subtitle/subtitle_download.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::Pauses;
using kinora::fakes::TheScript;
using PauseList = std::vector<unsigned int>;
using Texts = std::vector<std::string>;

constexpr char kFilm[] = "/v/film.mkv";
constexpr unsigned int kSecond = 1000;

class SubtitleDownloadTest : public kinora::fakes::PluginTest {
 protected:
  SubtitleDownloadTest() {
    std::string name = testing::TempDir() + "download-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    file_ = folder_ / "film.srt";
    std::ofstream(file_) << "text";
  }
  ~SubtitleDownloadTest() override { std::filesystem::remove_all(folder_); }

  bool Download(const std::string& plugin_id) { return DownloadSubtitle(kFilm, plugin_id, "-7", result_); }
  // The first so many runs fail.
  static void FailTimes(int failures) {
    TheScript().run = [failures](const Texts&) mutable {
      TheScript().captured_output = R"({"id": "/v/film.srt"})";
      return failures-- > 0 ? 1 : 0;
    };
  }
  std::string NamingTheFile() const { return "{\"id\": \"" + file_.string() + "\"}"; }
  // 1024, where the owner could be changed.
  uid_t Owner() const {
    struct stat status {};
    return ::stat(file_.c_str(), &status) == 0 ? status.st_uid : 0;
  }
  bool MayChangeOwners() const {
    return ::chown(file_.c_str(), 12345, 12345) == 0 && ::chown(file_.c_str(), ::geteuid(), ::getegid()) == 0;
  }

  std::filesystem::path folder_;
  std::filesystem::path file_;
  Json::Value result_;
};

TEST_F(SubtitleDownloadTest, GivesThePluginsWholeAnswer) {
  Install("a", R"({"id": "/v/film.srt", "more": [1]})");
  EXPECT_TRUE(Download("a"));
  EXPECT_EQ(result_, Parse(R"({"id": "/v/film.srt", "more": [1]})"));
  EXPECT_EQ(Pauses(), PauseList());
  ExpectCalls({R"(CRVNVideoLoadPluginFromFolder("/var/packages/Kinora/target/subtitle_plugins"))",
               R"(ProcessRunner("/usr/bin/php", "/usr/bin/php"))",
               RunOf("a", "download", kFilm, {"--id", "-7"})});
}

TEST_F(SubtitleDownloadTest, AsksOnlyThePluginWithExactlyThisId) {
  Install("a");
  Install("ab");
  Install("A");
  EXPECT_TRUE(Download("ab"));
  EXPECT_EQ(CallsOf("run"), Texts{RunOf("ab", "download", kFilm, {"--id", "-7"})});
}

TEST_F(SubtitleDownloadTest, GoesByTheIdWithinTheDescription) {
  Install("a");
  TheScript().plugins["a"]["id"] = "other";
  EXPECT_FALSE(Download("a"));
  EXPECT_TRUE(Download("other"));
  EXPECT_EQ(CallsOf("run"), Texts{RunOf("a", "download", kFilm, {"--id", "-7"})});
}

TEST_F(SubtitleDownloadTest, NeedsNoSettings) {
  Install("com.corvane.Shooter", "{}");
  Install("com.corvane.OpenSubtitles", "{}");
  EXPECT_TRUE(Download("com.corvane.Shooter"));
  EXPECT_TRUE(Download("com.corvane.OpenSubtitles"));
  EXPECT_EQ(CallsOf("ReadJsonFromFile"), Texts());
  EXPECT_EQ(CallsOf("run").back(), RunOf("com.corvane.OpenSubtitles", "download", kFilm, {"--id", "-7"}));
  ExpectLog({});
}

TEST_F(SubtitleDownloadTest, SucceedsWithAnyJson) {
  for (const char* const answer : {"{}", "[]", "null", "5", "\"x\"", R"({"id": 5})", R"({"id": null})"}) {
    Install("a", answer);
    EXPECT_TRUE(Download("a")) << answer;
    EXPECT_EQ(result_, Parse(std::string("[") + answer + "]")[0]) << answer;
  }
  EXPECT_EQ(Pauses(), PauseList());
}

TEST_F(SubtitleDownloadTest, SucceedsAfterTwoFailuresAndTwoPauses) {
  Install("a");
  FailTimes(2);
  EXPECT_TRUE(Download("a"));
  EXPECT_EQ(result_["id"], "/v/film.srt");
  EXPECT_EQ(CallsOf("run").size(), 3U);
  EXPECT_EQ(Pauses(), (PauseList{kSecond, kSecond}));
}

TEST_F(SubtitleDownloadTest, PausesAfterEachFailureTheThirdIncludedAndLeavesTheResult) {
  Install("a");
  FailTimes(4);
  result_ = Parse(R"({"before": 1})");
  EXPECT_FALSE(Download("a"));
  EXPECT_EQ(result_, Parse(R"({"before": 1})"));
  EXPECT_EQ(CallsOf("run").size(), 3U);
  EXPECT_EQ(Pauses(), (PauseList{kSecond, kSecond, kSecond}));
  ExpectLog({});
}

TEST_F(SubtitleDownloadTest, TriesAgainWhenTheAnswerIsNoJson) {
  for (const std::string& answer :
       {std::string(), std::string("{\"id\": "), std::string("error"), std::string(5000, '[')}) {
    Install("a", answer);
    Pauses().clear();
    EXPECT_FALSE(Download("a")) << answer;
    EXPECT_EQ(Pauses().size(), 3U) << answer;
  }
}

TEST_F(SubtitleDownloadTest, PausesBetweenTheRuns) {
  Install("a");
  PauseList seen;
  TheScript().run = [&seen](const Texts&) {
    seen.push_back(static_cast<unsigned int>(Pauses().size()));
    return 1;
  };
  EXPECT_FALSE(Download("a"));
  EXPECT_EQ(seen, (PauseList{0, 1, 2}));
}

TEST_F(SubtitleDownloadTest, FailsAtOnceForAPluginThatIsNotThere) {
  Install("a");
  for (const char* const id : {"b", "", "a ", "A"}) EXPECT_FALSE(Download(id)) << id;
  EXPECT_EQ(CallsOf("run"), Texts());
  EXPECT_EQ(Pauses(), PauseList());
  ExpectLog({});
}

TEST_F(SubtitleDownloadTest, FailsWhenThePluginsCannotBeTold) {
  TheScript().load_plugins = false;
  result_["id"] = file_.string();
  const uid_t before = Owner();
  EXPECT_FALSE(Download("a"));
  EXPECT_EQ(Owner(), before);
  EXPECT_EQ(Pauses(), PauseList());
  ExpectLog(
      {"subtitle/plugin:# Failed to load plugin info from folder "
       "[/var/packages/Kinora/target/subtitle_plugins]"});
}

TEST_F(SubtitleDownloadTest, GivesTheFileToTheOrdinaryUser) {
  if (!MayChangeOwners()) GTEST_SKIP() << "needs root and more than one id";
  Install("a", NamingTheFile());
  EXPECT_TRUE(Download("a"));
  EXPECT_EQ(Owner(), 1024U);
}

TEST_F(SubtitleDownloadTest, GivesAwayTheFileThatItsCallerNamedWhenNoPluginRan) {
  if (!MayChangeOwners()) GTEST_SKIP() << "needs root and more than one id";
  result_["id"] = file_.string();
  EXPECT_FALSE(Download("missing"));
  EXPECT_EQ(Owner(), 1024U);
}

TEST_F(SubtitleDownloadTest, GivesAwayTheFileThatItsCallerNamedWhenThePluginFailed) {
  if (!MayChangeOwners()) GTEST_SKIP() << "needs root and more than one id";
  Install("a", "", 1);
  result_["id"] = file_.string();
  EXPECT_FALSE(Download("a"));
  EXPECT_EQ(Owner(), 1024U);
}

TEST_F(SubtitleDownloadTest, GivesNothingAwayWhenTheAnswerNamesNone) {
  Install("a", "{}");
  result_["id"] = file_.string();
  const uid_t before = Owner();
  EXPECT_TRUE(Download("a"));
  EXPECT_EQ(result_, Json::Value(Json::objectValue));
  EXPECT_EQ(Owner(), before);
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
