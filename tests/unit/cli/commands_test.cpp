// The commands as a person types them: the real program with fixed places of its own.
#include <gmock/gmock.h>
#include <json/json.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/engine/picture_cache.h"
#include "platform/media/accounts.h"
#include "platform/media/catalog.h"
#include "platform/media/sessions.h"
#include "platform/media/shares.h"
#include "platform/media/store.h"
#include "platform/system/places.h"
#include "tests/unit/cli/commands_fixture.h"

namespace kinora::cli {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

TEST_F(CommandsTest, SayWhatThereIsToDo) {
  const Outcome help = Run({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* command : {"share", "scan", "user", "explain", "serve", "status", "doctor"})
    EXPECT_THAT(help.out, HasSubstr(command));
  for (const std::vector<std::string>& wrong : {std::vector<std::string>{},
                                                {"nonsense"},
                                                {"share"},
                                                {"user", "add"},
                                                {"scan", "--nonsense"},
                                                {"explain"}}) {
    const Outcome outcome = Run(wrong);
    EXPECT_GT(outcome.status, 1);
    EXPECT_NE(outcome.err, "");
    EXPECT_EQ(outcome.out, "");
  }
}

TEST_F(CommandsTest, ShareAddsListsAndRemoves) {
  EXPECT_EQ(Run({"share", "add", Films()}).out, "films\t" + Films() + "\n");
  EXPECT_EQ(Run({"share", "add", folder_, "--name", "All"}).err,
            "kinora: the folder holds the share films\n");
  EXPECT_EQ(Run({"share", "list"}).out, "films\t" + Films() + "\n");
  EXPECT_EQ(Run({"share", "remove", "other"}).err, "kinora: there is no such share\n");
  EXPECT_EQ(Run({"share", "remove", "films"}).status, 0);
  const Outcome empty = Run({"share", "list"});
  EXPECT_EQ(empty.status, 0);
  EXPECT_EQ(empty.out, "");
}

TEST_F(CommandsTest, ShareNamesItAfterTheFolderHoweverThatIsWritten) {
  for (const char* written : {"/", "/.", "/../films", "/../films/./"}) {
    EXPECT_EQ(Run({"share", "add", Films() + written}).out, "films\t" + Films() + "\n") << written;
    Run({"share", "remove", "films"});
  }
}

TEST_F(CommandsTest, ShareNamesItAsAsked) {
  EXPECT_EQ(Run({"share", "add", "--name", "Our films", Films() + "/"}).out, "Our films\t" + Films() + "\n");
}

TEST_F(CommandsTest, UserTakesThePasswordFromStandardInput) {
  EXPECT_EQ(Run({"user", "add", "anna", "--administrator"}, "correct horse\n").status, 0);
  EXPECT_EQ(Run({"user", "add", "anna"}, "correct horse\n").err,
            "kinora: there is an account of that name already\n");
  EXPECT_EQ(Run({"user", "add", "bert"}, "short\n").err, "kinora: a password has at least 8 bytes\n");
  EXPECT_EQ(Run({"user", "add", "bert"}).err, "kinora: no password was given\n");
  EXPECT_EQ(Run({"user", "list"}).out, "1\tanna\tadministrator\n");
  media::Store store(system::kDatabaseFile);
  EXPECT_TRUE(media::Accounts(store).Authenticate("anna", "correct horse"));
}

TEST_F(CommandsTest, UserMakesAPasswordAndTellsItOnce) {
  const Outcome printed = Run({"user", "add", "anna", "--generate"});
  EXPECT_THAT(printed.out, MatchesRegex("[a-z2-9]{20}\n"));
  const std::string file = folder_ / "password";
  const Outcome written = Run({"user", "password", "anna", "--password-file", file});
  EXPECT_EQ(written.status, 0);
  EXPECT_EQ(written.out, "");
  const std::string content = Content("password");
  EXPECT_THAT(content, MatchesRegex("[a-z2-9]{20}\n"));
  struct stat info {};
  ASSERT_EQ(::stat(file.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600U);
  media::Store store(system::kDatabaseFile);
  EXPECT_TRUE(media::Accounts(store).Authenticate("anna", content.substr(0, 20)));
  EXPECT_FALSE(media::Accounts(store).Authenticate("anna", printed.out.substr(0, 20)));
}

TEST_F(CommandsTest, UserMakesNoAccountWhosePasswordCannotBeTold) {
  EXPECT_EQ(Run({"user", "add", "anna", "--password-file", folder_ / "none" / "password"}).status, 1);
  EXPECT_EQ(Run({"user", "list"}).out, "");
}

TEST_F(CommandsTest, UserWelcomesOnce) {
  Run({"user", "add", "anna", "--generate"});
  const Outcome welcome = Run({"user", "welcome", "anna"});
  EXPECT_THAT(welcome.out, MatchesRegex("[A-Za-z0-9_-]{43}\n"));
  EXPECT_EQ(Run({"user", "welcome", "bert"}).err, "kinora: there is no account of that name\n");
  media::Store store(system::kDatabaseFile);
  EXPECT_EQ(media::Sessions(store, 1).UseWelcome(welcome.out.substr(0, 43)), 1);
}

TEST_F(CommandsTest, AllSayWhenTheDatabaseIsDamagedAndKeepIt) {
  fs::create_directories(fs::path(system::kDatabaseFile).parent_path());
  std::ofstream(system::kDatabaseFile) << "this is no database";
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"share", "list"}, {"user", "list"}, {"scan"}}) {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, testing::StartsWith("kinora: cannot open "));
  }
  EXPECT_EQ(fs::file_size(system::kDatabaseFile), 19U);
}

// Films from the build's own test media, old enough not to wait.
class ScanCommandTest : public CommandsTest {
 protected:
  void PutFilm(const std::string& source, const std::string& name) {
    fs::copy_file(fs::path(KINORA_MEDIA_DIR) / source, folder_ / name);
    const timespec time{std::time(nullptr) - 3600, 0};
    const timespec times[] = {time, time};
    ::utimensat(AT_FDCWD, (folder_ / name).c_str(), times, 0);
  }
  static int64_t Listed() {
    if (!fs::exists(system::kDatabaseFile)) return 0;
    media::Store store(system::kDatabaseFile);
    return media::Catalog(store).List({}).total;
  }
  static bool WaitForListed(int64_t count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Listed() != count && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return Listed() == count;
  }
};

TEST_F(ScanCommandTest, FindsVideosAndSaysWhatItDid) {
  Run({"share", "add", Films()});
  PutFilm("silent.mp4", "films/a.mp4");
  PutFilm("h264_ac3.mkv", "films/b.mkv");
  std::ofstream(folder_ / "films/c.mp4") << "#EXTM3U\n";
  fs::last_write_time(folder_ / "films/c.mp4", fs::file_time_type::clock::now() - std::chrono::hours(1));
  const Outcome first = Run({"scan"});
  EXPECT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.out, "3 found, 2 added, 0 changed, 0 moved, 0 removed, 1 refused, 0 waiting\n");
  EXPECT_EQ(first.err, "") << "progress is for terminals";
  EXPECT_EQ(Run({"scan"}).out, "3 found, 0 added, 0 changed, 0 moved, 0 removed, 1 refused, 0 waiting\n");
  media::Store store(system::kDatabaseFile);
  media::CatalogQuery query;
  query.search = "b.mkv";
  const media::CatalogPage page = media::Catalog(store).List(query);
  ASSERT_EQ(page.videos.size(), 1U);
  EXPECT_EQ(page.videos[0].facts.container, "mkv");
  EXPECT_EQ(page.videos[0].facts.audio_codec, "ac3");
  EXPECT_EQ(page.videos[0].facts.title, "Grüße");
}

TEST_F(ScanCommandTest, DropsThePicturesOfFilmsThatAreGone) {
  Run({"share", "add", Films()});
  PutFilm("silent.mp4", "films/a.mp4");
  PutFilm("h264_ac3.mkv", "films/b.mkv");
  Run({"scan"});
  const auto gone = engine::PictureOf(Films() + "/a.mp4", 320);
  const auto kept = engine::PictureOf(Films() + "/b.mkv", 320);
  ASSERT_TRUE(gone && kept);
  Run({"scan"});
  EXPECT_TRUE(fs::exists(*gone)) << "nothing is gone yet";
  fs::remove(Films() + "/a.mp4");
  Run({"scan"});
  EXPECT_FALSE(fs::exists(*gone));
  EXPECT_TRUE(fs::exists(*kept));
  Run({"share", "remove", "films"});
  Run({"scan"});
  EXPECT_FALSE(fs::exists(*kept)) << "a share that was removed takes them along";
}

TEST_F(ScanCommandTest, StaysAndFollowsWhatChanges) {
  Run({"share", "add", Films()});
  PutFilm("silent.mp4", "films/a.mp4");
  const pid_t watcher = Start({"scan", "--watch"}, "");
  EXPECT_TRUE(WaitForListed(1));
  PutFilm("silent.mp4", "films/b.mp4");
  EXPECT_TRUE(WaitForListed(2));
  fs::remove(folder_ / "films/a.mp4");
  EXPECT_TRUE(WaitForListed(1));
  fs::copy_file(fs::path(KINORA_MEDIA_DIR) / "silent.mp4", folder_ / "films/fresh.mp4");
  EXPECT_TRUE(WaitForListed(2)) << "a file that had to wait is looked at later";
  fs::create_directory(folder_ / "more");
  PutFilm("silent.mp4", "more/c.mp4");
  {
    media::Store store(system::kDatabaseFile);
    media::Shares(store).Add("More", folder_ / "more");
  }
  EXPECT_TRUE(WaitForListed(3)) << "a share that was added meanwhile";
  ::kill(watcher, SIGTERM);
  int status = 0;
  ::waitpid(watcher, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
}

TEST_F(ScanCommandTest, ExplainSaysWhatAFileIsAndWhy) {
  PutFilm("h264_ac3.mkv", "a.mkv");
  const Outcome outcome = Run({"explain", folder_ / "a.mkv"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            (folder_ / "a.mkv").string() +
                "\n"
                "  container   mkv\n"
                "  video       h264 (Constrained Baseline), 1280x720\n"
                "  audio       ac3\n"
                "  auto        hls_remux\n"
                "  raw         yes: browsers do not play h264 with ac3 in mkv; a player that asks "
                "for it may\n"
                "  hls_remux   yes: the picture of h264 with ac3 in mkv is copied\n"
                "  webm_remux  yes: h264 with ac3 in mkv is converted for players that ask for it\n"
                "  hls         yes: h264 with ac3 in mkv is converted\n"
                "  ss          yes: h264 with ac3 in mkv is converted for players that ask for it\n");
}

TEST_F(ScanCommandTest, ExplainAnswersInJsonAndSaysWhatIsNoVideo) {
  PutFilm("silent.mp4", "a.mp4");
  std::ofstream(folder_ / "b.mp4") << "#EXTM3U\n";
  const Outcome outcome =
      Run({"explain", "--json", folder_ / "a.mp4", folder_ / "b.mp4", folder_ / "none.mp4"});
  EXPECT_EQ(outcome.status, 1);
  Json::Value json;
  std::istringstream(outcome.out) >> json;
  ASSERT_EQ(json.size(), 3U);
  EXPECT_EQ(json[0]["container"].asString(), "mp4");
  EXPECT_EQ(json[0]["auto"][0].asString(), "raw");
  EXPECT_TRUE(json[0]["formats"]["raw"]["allowed"].asBool());
  EXPECT_EQ(json[0]["formats"]["raw"]["reason"].asString(), "browsers play h264 without sound in mp4");
  EXPECT_NE(json[1]["refusal"].asString(), "");
  EXPECT_NE(json[2]["refusal"].asString(), "");
  EXPECT_THAT(Run({"explain", folder_ / "b.mp4"}).out, HasSubstr("\n  no video    "));
}

}  // namespace
}  // namespace kinora::cli
