// Under whose rights a subtitle is discovered.
#include <fstream>

#include "library/subtitle/subtitle_discovery.h"
#include "tests/fakes/effective_ids.h"
#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::EffectiveIds;
using kinora::fakes::TheIds;
using kinora::fakes::TheScript;
using Texts = std::vector<std::string>;

class SubtitleDiscoveryAsRoot : public kinora::fakes::PluginTest {
 protected:
  SubtitleDiscoveryAsRoot() {
    TheIds() = EffectiveIds();
    std::string name = testing::TempDir() + "discovery-XXXXXX";
    volume_ = ::mkdtemp(name.data());
    TheScript().available_volume.path = volume_;
    TheScript().execute = [](const Texts&) { return 0; };
    Install("a", R"({"id": "/x/a.srt", "items": [{"id": "1"}]})");
  }
  ~SubtitleDiscoveryAsRoot() override { std::filesystem::remove_all(volume_); }

  static std::string Discover() { return DiscoverSubtitle("/v/film.mkv"); }
  // What was done, each call by its first word; the switches by "root" and "back".
  static Texts Operations() {
    Texts operations;
    for (const std::string& call : Calls()) {
      if (call == "setresuid(-1, 33, -1)") operations.emplace_back("back");
      if (call == "setresgid(-1, 0, -1)") operations.emplace_back("root");
      if (!call.starts_with("setres")) operations.push_back(call.substr(0, call.find('(')));
    }
    return operations;
  }
  static void ExpectIdentityIsBack() {
    EXPECT_EQ(TheIds().uid, 33U);
    EXPECT_EQ(TheIds().gid, 44U);
  }

  std::filesystem::path volume_;
};

const Texts kFolder{"PathInfo", "root", "GetMD5", "VolumeAvailGet", "CRVNFSMkdirPKinora", "back"};
const Texts kSearch{"CRVNVideoLoadPluginFromFolder", "ReadJsonFromFile", "ProcessRunner", "run"};

Texts Joined(const std::vector<Texts>& parts) {
  Texts all;
  for (const Texts& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(SubtitleDiscoveryAsRoot, MakesTheFolderAndDownloadsButSearchesAsItself) {
  EXPECT_EQ(Discover(), "/x/a.srt");
  EXPECT_EQ(Operations(),
            Joined({kFolder,
                    {"GetExternalSubtitle"},
                    kSearch,
                    {"root", "CRVNVideoLoadPluginFromFolder", "ProcessRunner", "run", "HLIBCExec", "back"}}));
  ExpectIdentityIsBack();
}

TEST_F(SubtitleDiscoveryAsRoot, ProbesWhatIsLeft) {
  TheScript().external_subtitles = {"/x/left.srt"};
  EXPECT_EQ(Discover(), "/x/left.srt");
  EXPECT_EQ(Operations(), Joined({kFolder, {"GetExternalSubtitle", "root", "HLIBCExec", "back"}}));
  ExpectIdentityIsBack();
}

TEST_F(SubtitleDiscoveryAsRoot, GoesBackOnEveryWayOut) {
  const std::vector<std::pair<int, std::function<void()>>> ways = {
      {101, [] { TheScript().digest = ""; }},
      {101, [] { TheScript().available_volumes = 0; }},
      {101, [] { TheScript().make_folder = false; }},
      {105, [] { TheScript().list_external_subtitles = false; }},
      {101, [] { TheScript().load_plugins = false; }},
      {30000, [] { TheScript().plugins.clear(); }},
      {30000, [] { TheScript().execute = [](const Texts&) { return 1; }; }},
  };
  for (const auto& [code, fail] : ways) {
    const kinora::fakes::Script before = TheScript();
    fail();
    ExpectError(code, "", [] { Discover(); });
    ExpectIdentityIsBack();
    TheScript() = before;
  }
}

TEST_F(SubtitleDiscoveryAsRoot, GoesBackWhenAnythingIsThrown) {
  TheScript().execute = [](const Texts&) -> int { throw std::bad_alloc(); };
  EXPECT_THROW(Discover(), std::bad_alloc);
  ExpectIdentityIsBack();
}

// Each section makes three switches on the way in and two on the way back.
TEST_F(SubtitleDiscoveryAsRoot, StopsAtOnceWhereAnySwitchIsRefused) {
  for (const int first : {1, 2, 3}) {
    TheIds() = EffectiveIds();
    TheIds().failing_calls = {first};
    Calls().clear();
    EXPECT_THROW(Discover(), runas_error) << first;
    EXPECT_EQ(CallsOf("GetMD5"), Texts()) << first;
    ExpectIdentityIsBack();
  }
  for (const int second : {6, 7, 8}) {
    TheIds() = EffectiveIds();
    TheIds().failing_calls = {second};
    Calls().clear();
    EXPECT_THROW(Discover(), runas_error) << second;
    EXPECT_EQ(CallsOf("run").size(), 1U) << second;
    EXPECT_EQ(CallsOf("HLIBCExec"), Texts()) << second;
    ExpectIdentityIsBack();
  }
}

TEST_F(SubtitleDiscoveryAsRoot, StartsNothingWhenWhatIsLeftCannotBeProbedAsRoot) {
  TheScript().external_subtitles = {"/x/left.srt"};
  TheIds().failing_calls = {6};
  EXPECT_THROW(Discover(), runas_error);
  EXPECT_EQ(CallsOf("run"), Texts());
  EXPECT_EQ(CallsOf("HLIBCExec"), Texts());
  ExpectLog({"subtitle/plugin:# ERROR: RUN_AS(0, 0)"});
}

TEST_F(SubtitleDiscoveryAsRoot, ChangesNoIdsWhenItIsRoot) {
  TheIds().uid = TheIds().gid = 0;
  EXPECT_EQ(Discover(), "/x/a.srt");
  EXPECT_EQ(CallsOf("setresuid"), Texts());
  EXPECT_EQ(CallsOf("setresgid"), Texts());
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
