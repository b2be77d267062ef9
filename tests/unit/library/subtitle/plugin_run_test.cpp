#include "library/subtitle/plugin_run.h"

#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::TheScript;

class PluginRunTest : public kinora::fakes::PluginTest {
 protected:
  std::optional<Json::Value> Run(const std::string& output, int status = 0) {
    Install("a", output, status);
    return RunPlugin(TheScript().plugins["a"], "search", "/v/film.mkv", {});
  }
};

TEST_F(PluginRunTest, GivesTheInterpreterTheProgramTheActionThePathAndTheRest) {
  Install("a");
  EXPECT_TRUE(RunPlugin(TheScript().plugins["a"], "search", "/v/a film.mkv", {"--lang", "", "-x"}));
  ExpectCalls({R"(ProcessRunner("/usr/bin/php", "/usr/bin/php"))",
               RunOf("a", "search", "/v/a film.mkv", {"--lang", "", "-x"})});
}

TEST_F(PluginRunTest, HandsOverMoreArgumentsThanTheRunnerTakesAtOnce) {
  Install("a");
  std::vector<std::string> many(30, "x");
  EXPECT_TRUE(RunPlugin(TheScript().plugins["a"], "search", "/v", many));
  EXPECT_EQ(CallsOf("run").front(), RunOf("a", "search", "/v", many));
}

TEST_F(PluginRunTest, GivesTheAnswer) {
  EXPECT_EQ(Run(R"( {"items": [{"id": "1"}], "more": null} )"),
            Parse(R"({"items": [{"id": "1"}], "more": null})"));
  EXPECT_EQ(Run("[]"), Json::Value(Json::arrayValue));
  EXPECT_EQ(Run("null"), Json::Value());
  EXPECT_EQ(Run("\"text\""), Json::Value("text"));
}

TEST_F(PluginRunTest, PassesOverCommentsAndWhatFollowsTheDocument) {
  EXPECT_EQ(Run("/* notice */ {} warning"), Json::Value(Json::objectValue));
}

TEST_F(PluginRunTest, FailsWhenTheOutputIsNoJson) {
  for (const char* const output :
       {"", " ", "Fatal error", "{", R"({"items": [{"id": "1"})", "[1,]", "{\"a\":1,}", "{'a': 1}", "nul"}) {
    EXPECT_EQ(Run(output), std::nullopt) << output;
  }
  EXPECT_EQ(Run(std::string(1, '\0')), std::nullopt);
}

TEST_F(PluginRunTest, FailsWhenTheProgramDoesWhateverItHasWritten) {
  for (const int status : {1, 255, -1, -2}) EXPECT_EQ(Run("{}", status), std::nullopt) << status;
}

TEST_F(PluginRunTest, FailsWhenTheAnswerIsNestedTooDeeply) {
  const std::string deep(100'000, '[');
  EXPECT_EQ(Run(deep), std::nullopt);
  EXPECT_EQ(Run(deep + std::string(100'000, ']')), std::nullopt);
  EXPECT_TRUE(Run(std::string(100, '[') + std::string(100, ']')));
}

TEST_F(PluginRunTest, FailsWhenTheAnswerIsLargerThanAnyListOfSubtitles) {
  const std::string limit((2 << 20) - 2, 'x');
  EXPECT_TRUE(Run('"' + limit + '"'));
  EXPECT_EQ(Run('"' + limit + "x\""), std::nullopt);
}

TEST_F(PluginRunTest, RunsWhatCannotBeThereWhenThePluginHasNoFolder) {
  statuses_["/subtitle.php"] = 1;
  EXPECT_EQ(RunPlugin(Json::Value(), "search", "/v", {}), std::nullopt);
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
