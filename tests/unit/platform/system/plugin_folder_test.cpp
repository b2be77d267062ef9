#include "contract/system/plugin_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace kinora::system {
namespace {

namespace fs = std::filesystem;

constexpr char kGood[] = R"({"id": "org.example.a", "title": "A"})";

class PluginFolderTest : public testing::Test {
 protected:
  PluginFolderTest() {
    std::string name = testing::TempDir() + "plugins-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~PluginFolderTest() override { fs::remove_all(folder_); }

  fs::path Put(const std::string& name, const std::string& description = kGood) const {
    fs::create_directory(folder_ / name);
    std::ofstream(folder_ / name / "plugin.json", std::ios::binary) << description;
    std::ofstream(folder_ / name / "subtitle.php") << "<?php";
    return folder_ / name;
  }
  // The names of the folders whose plug-ins are taken, in the order of their ids.
  std::vector<std::string> Taken() const {
    Json::Value plugins = "before";
    EXPECT_EQ(CRVNKinora::CRVNVideoLoadPluginFromFolder(folder_, plugins), 0);
    EXPECT_TRUE(plugins.isObject());
    std::vector<std::string> names;
    for (const Json::Value& plugin : plugins)
      names.push_back(fs::path(plugin["pluginpath"].asString()).filename());
    return names;
  }
  void ExpectLeftOut(const std::string& what) {
    EXPECT_EQ(Taken(), std::vector<std::string>{"sound"}) << what;
  }

  fs::path folder_;
  const std::string sound_ = R"({"id": "sound", "title": "Sound"})";
};

TEST_F(PluginFolderTest, GivesDescriptionsUnderTheirIds) {
  Put("a",
      R"({"id": "org.example.Zeta", "title": "Zeta – übersetzt", "settings": [1], "pluginpath": "/etc"})");
  Put("b", R"({"id": "com.corvane.Shooter", "title": "Shooter"})");
  Json::Value plugins;
  EXPECT_EQ(CRVNKinora::CRVNVideoLoadPluginFromFolder(folder_, plugins), 0);
  Json::Value expected;
  expected["org.example.Zeta"]["id"] = "org.example.Zeta";
  expected["org.example.Zeta"]["title"] = "Zeta – übersetzt";
  expected["org.example.Zeta"]["pluginpath"] = (folder_ / "a").string();
  expected["com.corvane.Shooter"]["id"] = "com.corvane.Shooter";
  expected["com.corvane.Shooter"]["title"] = "Shooter";
  expected["com.corvane.Shooter"]["pluginpath"] = (folder_ / "b").string();
  EXPECT_EQ(plugins, expected);
}

TEST_F(PluginFolderTest, GivesAnEmptyObjectForAnEmptyFolder) { EXPECT_TRUE(Taken().empty()); }

TEST_F(PluginFolderTest, FailsWhereThereIsNoFolder) {
  std::ofstream(folder_ / "file") << "x";
  fs::create_directory_symlink(folder_, folder_ / "link");
  for (const std::string& path : {std::string(folder_ / "missing"), std::string(folder_ / "file"),
                                  std::string(folder_ / "link"), std::string()}) {
    Json::Value plugins = "before";
    EXPECT_LT(CRVNKinora::CRVNVideoLoadPluginFromFolder(path, plugins), 0) << path;
    EXPECT_EQ(plugins, "before");
  }
}

TEST_F(PluginFolderTest, LeavesOutMalformedDescriptions) {
  Put("sound", sound_);
  for (const std::string& description :
       {std::string(), std::string("{"), std::string("[]"), std::string("5"), std::string("{}"),
        std::string(R"({"id": "x"})"), std::string(R"({"title": "x"})"),
        std::string(R"({"id": 5, "title": "x"})"), std::string(R"({"id": "x", "title": 5})"),
        std::string(R"({"id": "x", "title": ""})"), std::string(R"({"id": "x", "title": "a\nb"})"),
        std::string("{\"id\": \"x\", \"title\": \"\xff\"}"),
        R"({"id": "x", "title": ")" + std::string(257, 't') + "\"}",
        std::string(R"({"id": "x", "id": "y", "title": "x"})"),
        std::string("{\"id\": \"x\", \"title\": \"x\"} more"), std::string(5000, '['),
        "{\"id\": \"x\", \"title\": \"x\", \"y\": \"" + std::string(64 << 10, 'y') + "\"}"}) {
    Put("bad", description);
    ExpectLeftOut(description.substr(0, 80));
  }
}

TEST_F(PluginFolderTest, LeavesOutMalformedIds) {
  Put("sound", sound_);
  for (const std::string& id :
       {std::string(), std::string("../x"), std::string(".x"), std::string("-x"), std::string("a b"),
        std::string("a/b"), std::string("é"), std::string("a\\u0000b"), std::string(129, 'a')}) {
    Put("bad", "{\"id\": \"" + id + "\", \"title\": \"x\"}");
    ExpectLeftOut(id);
  }
}

TEST_F(PluginFolderTest, LeavesOutIncompleteFolders) {
  Put("sound", sound_);
  fs::remove(Put("no program") / "subtitle.php");
  fs::remove(Put("no description") / "plugin.json");
  fs::create_directory(folder_ / "empty");
  std::ofstream(folder_ / "file") << "x";
  const fs::path odd = Put("odd");
  fs::remove(odd / "subtitle.php");
  fs::create_directory(odd / "subtitle.php");
  const fs::path pipe = Put("pipe");
  fs::remove(pipe / "plugin.json");
  ASSERT_EQ(::mkfifo((pipe / "plugin.json").c_str(), 0644), 0);
  ExpectLeftOut("incomplete");
}

TEST_F(PluginFolderTest, PassesOverHiddenNames) {
  Put("sound", sound_);
  Put(".hidden");
  ExpectLeftOut("hidden");
}

TEST_F(PluginFolderTest, FollowsNoLink) {
  Put("sound", sound_);
  const fs::path elsewhere = folder_ / ".elsewhere";
  fs::create_directory(elsewhere);
  for (const char* const file : {"plugin.json", "subtitle.php"}) {
    const fs::path plugin = Put(std::string("with a link for ") + file);
    fs::rename(plugin / file, elsewhere / file);
    fs::create_symlink(elsewhere / file, plugin / file);
  }
  fs::create_directory_symlink(Put(".real"), folder_ / "link");
  ExpectLeftOut("links");
}

TEST_F(PluginFolderTest, LeavesOutWhatOthersMayWrite) {
  Put("sound", sound_);
  ::chmod(Put("open folder").c_str(), 0777);
  ::chmod((Put("open program") / "subtitle.php").c_str(), 0666);
  ::chmod((Put("open description") / "plugin.json").c_str(), 0646);
  ExpectLeftOut("open");
}

TEST_F(PluginFolderTest, LeavesOutWhatBelongsToOthers) {
  Put("sound", sound_);
  const fs::path plugin = Put("foreign");
  if (::chown((plugin / "subtitle.php").c_str(), 12345, 12345) != 0)
    GTEST_SKIP() << "needs root and more than one id";
  ExpectLeftOut("program");
  ASSERT_EQ(::chown((plugin / "subtitle.php").c_str(), 0, 0), 0);
  ASSERT_EQ(::chown(plugin.c_str(), 12345, 12345), 0);
  ExpectLeftOut("folder");
}

TEST_F(PluginFolderTest, TakesTheFirstOfSeveralWithOneId) {
  Put("b");
  Put("a");
  Put("c");
  EXPECT_EQ(Taken(), std::vector<std::string>{"a"});
}

}  // namespace
}  // namespace kinora::system
