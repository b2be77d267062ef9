#include "library/subtitle/subtitle_search.h"

#include <fstream>

#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::TheScript;
using Calls = std::vector<std::string>;

constexpr char kFilm[] = "/v/film.mkv";

class SubtitleSearchTest : public kinora::fakes::PluginTest {
 protected:
  // Installs these and gives the ids in the order in which they are asked.
  std::vector<std::string> Asked(const std::vector<std::string>& ids) {
    for (const std::string& id : ids) Install(id, R"({"items": [{}]})");
    Set("shooter_enable", true);
    Set("opensubtitles_enable", true);
    std::vector<std::string> asked;
    const Json::Value result = GetSubtitleSearchResult(kFilm);
    for (const Json::Value& item : result["items"]) asked.push_back(item["plugin_id"].asString());
    return asked;
  }
};

TEST_F(SubtitleSearchTest, FindsNothingWithoutPlugins) {
  EXPECT_EQ(GetSubtitleSearchResult(kFilm), Parse(R"({"items": [], "total": 0})"));
  ExpectCalls({R"(CRVNVideoLoadPluginFromFolder("/var/packages/Kinora/target/subtitle_plugins"))"});
}

TEST_F(SubtitleSearchTest, FailsWhenThePluginsCannotBeTold) {
  TheScript().load_plugins = false;
  ExpectError(101, "", [] { GetSubtitleSearchResult(kFilm); });
  ExpectLog(
      {"subtitle/plugin:# Failed to load plugin info from folder "
       "[/var/packages/Kinora/target/subtitle_plugins]"});
}

TEST_F(SubtitleSearchTest, GivesEveryItemAsItIsWithItsPluginsIdAndTitle) {
  Install("a", R"({"items": [{"id": "1", "score": 0.5, "more": [null]}, {"id": "1"}, {}]})");
  EXPECT_EQ(GetSubtitleSearchResult(kFilm), Parse(R"({"items": [
      {"id": "1", "score": 0.5, "more": [null], "plugin_id": "a", "plugin_title": "Title of a"},
      {"id": "1", "plugin_id": "a", "plugin_title": "Title of a"},
      {"plugin_id": "a", "plugin_title": "Title of a"}], "total": 3})"));
}

TEST_F(SubtitleSearchTest, OverwritesThePluginsOwnIdAndTitle) {
  Install("a", R"({"items": [{"plugin_id": "forged", "plugin_title": 7}]})");
  EXPECT_EQ(GetSubtitleSearchResult(kFilm)["items"],
            Parse(R"([{"plugin_id": "a", "plugin_title": "Title of a"}])"));
}

TEST_F(SubtitleSearchTest, AsksShooterFirstAndThenFromTheGreatestIdToTheLeast) {
  EXPECT_EQ(Asked({"com.corvane.OpenSubtitles", "com.corvane.Shooter", "org.example.Zeta"}),
            (Calls{"com.corvane.Shooter", "org.example.Zeta", "com.corvane.OpenSubtitles"}));
}

TEST_F(SubtitleSearchTest, AsksALongerIdBeforeTheOneThatItExtends) {
  EXPECT_EQ(Asked({"a", "ab", "abc", "b", "B", "a.b", "com.corvane.Shooter", "com.corvane.Shooter2", "z"}),
            (Calls{"com.corvane.Shooter", "z", "com.corvane.Shooter2", "b", "abc", "ab", "a.b", "a", "B"}));
}

TEST_F(SubtitleSearchTest, ComparesIdsByteByByte) {
  EXPECT_EQ(Asked({"\x7f", "\xc3\xa9", "A"}), (Calls{"\xc3\xa9", "\x7f", "A"}));
}

TEST_F(SubtitleSearchTest, ReadsTheSettingsAnewForEachPluginAndRunsOneAfterTheOther) {
  Set("shooter_enable", true);
  Install("com.corvane.Shooter");
  Install("com.corvane.OpenSubtitles");
  Install("a");
  GetSubtitleSearchResult(kFilm);
  const std::string read = R"(ReadJsonFromFile("/var/packages/Kinora/etc/advanced.conf"))";
  const std::string runner = R"(ProcessRunner("/usr/bin/php", "/usr/bin/php"))";
  ExpectCalls({R"(CRVNVideoLoadPluginFromFolder("/var/packages/Kinora/target/subtitle_plugins"))", read,
               runner, RunOf("com.corvane.Shooter", "search", kFilm), read, read, runner,
               RunOf("a", "search", kFilm)});
}

TEST_F(SubtitleSearchTest, TellsOpenSubtitlesItsSettings) {
  Set("opensubtitles_enable", true);
  Set("opensubtitles_username", "jane");
  Set("opensubtitles_password", "stored");
  Install("com.corvane.OpenSubtitles");
  GetSubtitleSearchResult(kFilm);
  EXPECT_EQ(
      CallsOf("run"),
      Calls{RunOf("com.corvane.OpenSubtitles", "search", kFilm,
                  {"--lang", "eng", "--limit", "5", "--username", "jane", "--password", "clear stored"})});
}

TEST_F(SubtitleSearchTest, RunsNothingOfAPluginThatIsSwitchedOff) {
  Set("shooter_enable", "true");
  Install("com.corvane.Shooter", R"({"items": [{}]})");
  EXPECT_EQ(GetSubtitleSearchResult(kFilm), Parse(R"({"items": [], "total": 0})"));
  EXPECT_EQ(CallsOf("ProcessRunner"), Calls());
  EXPECT_EQ(CallsOf("run"), Calls());
}

TEST_F(SubtitleSearchTest, AsksOtherPluginsWithoutAnySettings) {
  EXPECT_EQ(Asked({}), Calls());
  TheScript().json_files.clear();
  Install("com.corvane.Shooter", R"({"items": [{}]})");
  Install("org.example.Zeta", R"({"items": [{"id": "1"}]})");
  EXPECT_EQ(GetSubtitleSearchResult(kFilm)["total"], 1);
}

TEST_F(SubtitleSearchTest, GoesOnWithoutAPluginThatFails) {
  Install("d", R"({"items": [{"id": "d"}]})", 1);
  Install("c", "no JSON");
  Install("b", R"({"items": [{"id": "b"}]})");
  Install("a", R"({"items": [{"id": "a"}]})", -2);
  const Json::Value result = GetSubtitleSearchResult(kFilm);
  EXPECT_EQ(result["total"], 1);
  EXPECT_EQ(result["items"][0]["id"], "b");
  EXPECT_EQ(CallsOf("run").size(), 4U);
  ExpectLog(
      Calls(4, "subtitle/plugin:# Failed to load advanced conf [/var/packages/Kinora/etc/advanced.conf]"));
}

TEST_F(SubtitleSearchTest, TakesNothingFromAnAnswerWithoutAnArrayOfItems) {
  for (const char* const answer : {"{}", "[]", "[{\"items\": []}]", "null", "5", "\"items\"", "true",
                                   R"({"items": null})", R"({"items": {}})", R"({"items": "x"})"}) {
    Install("a", answer);
    EXPECT_EQ(GetSubtitleSearchResult(kFilm), Parse(R"({"items": [], "total": 0})")) << answer;
  }
}

TEST_F(SubtitleSearchTest, LeavesOutWhatIsNoObjectAmongTheItems) {
  Install("a", R"({"items": [1, "x", null, [], true, {"id": "1"}]})");
  EXPECT_EQ(GetSubtitleSearchResult(kFilm)["total"], 1);
}

class CheckSearchResultTest : public kinora::fakes::PluginTest {
 protected:
  CheckSearchResultTest() {
    std::string name = testing::TempDir() + "search-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~CheckSearchResultTest() override { std::filesystem::remove_all(folder_); }

  std::string Put(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ / name) << content;
    return folder_ / name;
  }
  static Json::Value Item(const Json::Value& subtitle_id) {
    Json::Value item;
    item["subtitle_id"] = subtitle_id;
    item["downloaded"] = true;
    item["more"] = "stays";
    return item;
  }
  static Json::Value Checked(const Json::Value& item) {
    Json::Value result;
    result["items"].append(item);
    result["total"] = 1;
    CheckSubtitleSearchResult(result);
    EXPECT_EQ(result["total"], 1);
    return result["items"][0];
  }

  std::filesystem::path folder_;
};

TEST_F(CheckSearchResultTest, ClearsTheReferenceToAnEmptyFile) {
  Json::Value cleared = Item("");
  cleared["downloaded"] = false;
  EXPECT_EQ(Checked(Item(Put("empty", ""))), cleared);
}

TEST_F(CheckSearchResultTest, LeavesEveryOtherItemAsItIs) {
  for (const Json::Value& item :
       {Item(Put("full", "x")), Item((folder_ / "missing").string()), Item(folder_.string()), Item(""),
        Item("/proc"), Item(7), Item(Json::Value()), Item(Json::Value(Json::arrayValue)),
        Json::Value(Json::objectValue), Json::Value(7), Json::Value("x"), Json::Value(Json::arrayValue),
        Json::Value()}) {
    EXPECT_EQ(Checked(item), item);
  }
}

TEST_F(CheckSearchResultTest, ChecksEachItemByItself) {
  Json::Value result;
  result["items"].append(Item(Put("full", "x")));
  result["items"].append(Item(Put("empty", "")));
  result["items"].append(Item(Put("full", "x")));
  CheckSubtitleSearchResult(result);
  EXPECT_EQ(result["items"][0]["downloaded"], true);
  EXPECT_EQ(result["items"][1]["downloaded"], false);
  EXPECT_EQ(result["items"][2]["downloaded"], true);
}

TEST_F(CheckSearchResultTest, DoesNothingWithoutAnArrayOfItems) {
  for (const char* const text :
       {"{}", R"({"items": null})", R"({"items": {"subtitle_id": "/proc"}})", "[]"}) {
    Json::Value result = Parse(text);
    CheckSubtitleSearchResult(result);
    EXPECT_EQ(result, Parse(text));
  }
  Json::Value nothing;
  CheckSubtitleSearchResult(nothing);
  EXPECT_EQ(nothing, Json::Value());
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
