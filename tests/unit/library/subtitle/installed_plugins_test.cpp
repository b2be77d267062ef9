// Searching, downloading and discovering with real programs.
#include "tests/unit/library/subtitle/installed_plugins.h"

#include <signal.h>

#include <chrono>
#include <thread>

#include "library/subtitle/subtitle_discovery.h"
#include "library/subtitle/subtitle_download.h"
#include "library/subtitle/subtitle_search.h"
#include "platform/system/secret_box.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::Pauses;

constexpr char kGood[] = "echo '{\"items\": [{\"id\": \"good\"}]}';";
constexpr char kSubRip[] = "1\\n00:00:01,000 --> 00:00:02,000\\ntext\\n";

class InstalledSearch : public kinora::fakes::InstalledPluginsTest {
 protected:
  // What is found beside a plug-in that does what it should and is asked after the other one.
  static void ExpectOnlyTheOtherOneIsHeard(const std::string& program) {
    Install("b", program);
    Install("a", kGood);
    const Json::Value result = GetSubtitleSearchResult("/v/film.mkv");
    EXPECT_EQ(result["total"], 1) << program;
    EXPECT_EQ(result["items"][0]["id"], "good") << program;
    EXPECT_EQ(result["items"][0]["plugin_id"], "a") << program;
  }
};

TEST_F(InstalledSearch, GivesThePluginItsArgumentsAndNothingElse) {
  Install("a",
          "echo json_encode(['items' => [['arguments' => array_slice($argv, 1), 'environment' => getenv(), "
          "'input' => stream_get_contents(STDIN), 'open' => scandir('/proc/self/fd')]]]);");
  const std::string path = "/v/a \"film\" $(id) -x\n'%d'.mkv";
  const Json::Value item = GetSubtitleSearchResult(path)["items"][0];
  Json::Value arguments;
  for (const std::string& argument :
       {std::string("--action"), std::string("search"), std::string("--path"), path})
    arguments.append(argument);
  EXPECT_EQ(item["arguments"], arguments);
  EXPECT_EQ(item["environment"].getMemberNames(), (std::vector<std::string>{"LANG", "PATH"}));
  EXPECT_EQ(item["input"], "");
  // The standard ones, the script, the folder that is listed, and "." and "..".
  EXPECT_LE(item["open"].size(), 7U);
}

TEST_F(InstalledSearch, LeavesThePluginNoRights) {
  Install("a", "echo json_encode(['items' => [['status' => file_get_contents('/proc/self/status')]]]);");
  const std::string status = GetSubtitleSearchResult("/v/film.mkv")["items"][0]["status"].asString();
  for (const char* const line : {"CapPrm:\t0000000000000000", "CapEff:\t0000000000000000", "NoNewPrivs:\t1"})
    EXPECT_THAT(status, testing::HasSubstr(line));
}

TEST_F(InstalledSearch, TellsOpenSubtitlesTheDecryptedPassword) {
  Json::Value settings;
  settings["opensubtitles_enable"] = true;
  settings["opensubtitles_username"] = "jane";
  settings["opensubtitles_password"] = kinora::system::EncryptSecret("s3cret").value_or("");
  ASSERT_TRUE(LibKinora::WriteJsonToFile("/var/packages/Kinora/etc/advanced.conf", settings));
  Install("com.corvane.OpenSubtitles",
          "echo json_encode(['items' => [['arguments' => array_slice($argv, 5)]]]);");
  const Json::Value told = GetSubtitleSearchResult("/v/film.mkv")["items"][0]["arguments"];
  fs::remove("/var/packages/Kinora/etc/advanced.conf");
  fs::remove(kinora::system::kMachineKey);
  std::string words;
  for (const Json::Value& word : told) words += word.asString() + " ";
  EXPECT_EQ(words, "--lang eng --limit 5 --username jane --password s3cret ");
}

TEST_F(InstalledSearch, HearsNothingOfAPluginThatFailsBesideItsAnswer) {
  for (const char* const end : {"exit(1);", "exit(255);", "posix_kill(getpid(), 11); sleep(60);",
                                "posix_kill(getpid(), 15); sleep(60);", "throw new Exception('x');"}) {
    ExpectOnlyTheOtherOneIsHeard(std::string("echo '{\"items\": [{\"id\": \"bad\"}]}';\n") + end);
  }
}

TEST_F(InstalledSearch, HearsNothingOfWhatIsNoAnswer) {
  for (const char* const program :
       {"", "echo '{\"items\": [{\"id\": \"bad\"}';", "echo 'error';", "echo str_repeat('[', 100000);",
        "echo '{\"items\": \"bad\"}';", "echo '{\"items\": {\"0\": {\"id\": \"bad\"}}}';", "echo '[[]]';",
        "echo '7';", "echo '{\"items\": [7, \"x\", null, [[]]]}';", "syntax error here"}) {
    ExpectOnlyTheOtherOneIsHeard(program);
  }
}

TEST_F(InstalledSearch, EndsAPluginThatPrintsWithoutEnd) {
  ExpectOnlyTheOtherOneIsHeard("$mb = str_repeat('x', 1 << 20); while (true) echo $mb;");
}

TEST_F(InstalledSearch, HearsAPluginThatComplainsALot) {
  Install("a",
          "for ($i = 0; $i < 64; ++$i) fwrite(STDERR, str_repeat(str_repeat('x', 1023) . \"\\n\", 64));\n" +
              std::string(kGood));
  EXPECT_EQ(GetSubtitleSearchResult("/v/film.mkv")["total"], 1);
}

// Whether the process has ended, now or soon.
bool EndsSoon(pid_t pid) {
  for (int i = 0; i < 30'000; ++i) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string number, name, state;
    file >> number >> name >> state;
    if (!file || state == "Z" || state == "X") return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

TEST_F(InstalledSearch, EndsWhatAPluginLeavesBehindAndDoesNotWaitForIt) {
  Install("a",
          "$pid = (int) shell_exec('sleep 600 >/dev/null 2>&1 & echo $!');\n"
          "shell_exec('sleep 600 2>/dev/null >&2 &');\n"
          "echo json_encode(['items' => [['pid' => $pid]]]);");
  const int pid = GetSubtitleSearchResult("/v/film.mkv")["items"][0]["pid"].asInt();
  ASSERT_GT(pid, 1);
  EXPECT_TRUE(EndsSoon(pid));
}

class InstalledDownload : public kinora::fakes::InstalledPluginsTest {};

TEST_F(InstalledDownload, TriesUntilThePluginSucceeds) {
  const std::string tries = folder_ / "tries";
  InstallDownloading("a", "file_put_contents('" + tries +
                              "', 'x', FILE_APPEND);\n"
                              "if (filesize('" +
                              tries +
                              "') < 3) exit(1);\n"
                              "file_put_contents(\"$path.$id.srt\", 'text');\n"
                              "echo json_encode(['id' => \"$path.$id.srt\"]);");
  Json::Value answer;
  EXPECT_TRUE(DownloadSubtitle(folder_ / "film.mkv", "a", "--x y", answer));
  EXPECT_EQ(Content(tries), "xxx");
  EXPECT_EQ(Pauses(), (std::vector<unsigned int>{1000, 1000}));
  EXPECT_EQ(answer["id"], (folder_ / "film.mkv.--x y.srt").string());
  EXPECT_EQ(Content(answer["id"].asString()), "text");
}

class InstalledDiscovery : public kinora::fakes::InstalledPluginsTest {
 protected:
  // Writes this text beside the video that it is told, and a mark for each run.
  void InstallWriting(const std::string& id, const std::string& text) {
    InstallDownloading(id, "file_put_contents('" + (folder_ / id).string() + "', 'x', FILE_APPEND);\n" +
                               "$file = preg_replace('/mkv$/', 'srt', $path);\n" +
                               "file_put_contents($file, \"" + text + "\");\n" +
                               "echo json_encode(['id' => $file]);");
  }
};

TEST_F(InstalledDiscovery, GivesTheFirstReadableOneAndReusesItWithoutAnyPlugin) {
  InstallWriting("b", "no subtitle at all");
  InstallWriting("a", kSubRip);
  const std::string file = DiscoverSubtitle("/v/film.mkv");
  EXPECT_THAT(file,
              testing::MatchesRegex("/var/packages/Kinora/var/@tmp/Kinora/subtitle/[0-9a-f]+/film.srt"));
  EXPECT_EQ(Content(file), "1\n00:00:01,000 --> 00:00:02,000\ntext\n");
  EXPECT_EQ(Content(folder_ / "b"), "x");
  EXPECT_EQ(Content(folder_ / "a"), "x");
  EXPECT_EQ(DiscoverSubtitle("/v/film.mkv"), file);
  EXPECT_EQ(Content(folder_ / "b"), "x");
  EXPECT_EQ(Content(folder_ / "a"), "x");
}

TEST_F(InstalledDiscovery, SearchesAgainWhenWhatIsLeftIsNotReadable) {
  InstallWriting("a", kSubRip);
  const std::string file = DiscoverSubtitle("/v/film.mkv");
  std::ofstream(file, std::ios::trunc) << "broken";
  EXPECT_EQ(DiscoverSubtitle("/v/film.mkv"), file);
  EXPECT_EQ(Content(folder_ / "a"), "xx");
  EXPECT_EQ(Content(file), "1\n00:00:01,000 --> 00:00:02,000\ntext\n");
}

TEST_F(InstalledDiscovery, KeepsEachVideoApart) {
  InstallWriting("a", kSubRip);
  EXPECT_NE(DiscoverSubtitle("/v/film.mkv"), DiscoverSubtitle("/w/film.mkv"));
  EXPECT_EQ(Content(folder_ / "a"), "xx");
}

TEST_F(InstalledDiscovery, LeavesNoFileWhenNothingIsReadable) {
  InstallWriting("a", "no subtitle at all");
  ExpectError(30000, "", [] { DiscoverSubtitle("/v/film.mkv"); });
  for (const auto& entry : fs::recursive_directory_iterator(kinora::system::InVar("@tmp")))
    EXPECT_FALSE(entry.is_regular_file()) << entry.path();
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
