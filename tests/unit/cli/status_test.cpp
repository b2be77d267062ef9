#include <gmock/gmock.h>
#include <json/json.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <sstream>

#include "contract/engine/vte_stream.h"
#include "contract/system/crvn_fs.h"
#include "platform/base/descriptor.h"
#include "platform/engine/job_lock.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_request.h"
#include "tests/unit/cli/commands_fixture.h"

namespace kinora::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

class StatusTest : public CommandsTest {
 protected:
  StatusTest() { Clear(); }
  ~StatusTest() override { Clear(); }
  static void Clear() {
    for (const auto& entry : fs::directory_iterator(system::kWorkspace)) fs::remove_all(entry.path());
    fs::remove_all(fs::path(system::kVar) / "@tmp");
    fs::remove(system::kSettingsFile);
  }

  // A stream as it is opened; its id.
  static std::string Open(const std::string& type, const std::string& film) {
    std::string id = LibCrvnVTE::VTEStream::GetRandStreamID(film);
    libkn::critical::crvnsdk::CRVNFSMkdirPKinora(std::string(system::kWorkspace) + "/" + type, 0700);
    EXPECT_TRUE(LibCrvnVTE::VTEStream::GetVolTmpAndSymlink(1, id, type));
    if (type == "RAW") {
      std::ofstream(Folder(type, id) / "filepath") << film;
      return id;
    }
    const auto folder = engine::StreamFolder::Open(type, id);
    engine::WriteRequest(*folder, LibCrvnVTE::VTEInitArgument(film, type, "/profiles", "hd_high"));
    folder->MakeWorkFolder();
    return id;
  }
  static fs::path Folder(const std::string& type, const std::string& id) {
    return fs::path(system::kWorkspace) / type / id;
  }
  // As if all of it had been used so long ago.
  static void Age(const fs::path& folder, int seconds) {
    const timespec time{std::time(nullptr) - seconds, 0};
    const timespec times[] = {time, time};
    for (const auto& entry : fs::directory_iterator(folder)) {
      ::utimensat(AT_FDCWD, entry.path().c_str(), times, 0);
    }
    ::utimensat(AT_FDCWD, folder.c_str(), times, 0);
  }
  Json::Value AsJson() {
    const Outcome outcome = Run({"status", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    Json::Value json;
    std::istringstream(outcome.out) >> json;
    return json;
  }
};

TEST_F(StatusTest, SaysThatNothingRunsWhereNothingDoes) {
  EXPECT_EQ(Run({"status"}).out, "service   not running\nencoders  0 of 2\nstreams   0\n");
  const Json::Value json = AsJson();
  EXPECT_FALSE(json["running"].asBool());
  EXPECT_FALSE(json["answers"].asBool());
  EXPECT_FALSE(json.isMember("url"));
  EXPECT_EQ(json["streams"].size(), 0U);
}

TEST_F(StatusTest, ListsStreamsThoseUsedLastFirst) {
  const std::string raw = Open("RAW", "/films/a\nb.mp4");
  const std::string hls = Open("HLS", "/films/Grüße.mkv");
  const std::string odd = Open("SS", "/films/c.mkv");
  std::ofstream(Folder("SS", odd) / "request.json") << "[1";
  std::ofstream(Folder("HLS", hls) / "work/0.ts") << std::string(100'000, 'x');
  Age(Folder("RAW", raw), 3 * 86'400 + 60);
  Age(Folder("HLS", hls), 7 * 60 + 30);
  Age(Folder("SS", odd), 5 * 3600 + 60);
  const Outcome outcome = Run({"status"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("\nstreams   3\n\ntype  stream  idle     size        encoder   film\n"));
  const size_t first = outcome.out.find("HLS   " + hls.substr(0, 6) + "  7 min    ");
  const size_t second = outcome.out.find("SS    " + odd.substr(0, 6) + "  5 h      ");
  const size_t third = outcome.out.find("RAW   " + raw.substr(0, 6) + "  3 d      ");
  ASSERT_NE(third, std::string::npos) << outcome.out;
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_THAT(outcome.out, HasSubstr(" no        /films/Grüße.mkv\n"));
  EXPECT_THAT(outcome.out, HasSubstr(" no        /films/a?b.mp4\n"));
  EXPECT_THAT(outcome.out, HasSubstr(" no        unknown\n"));
  for (const std::string& id : {raw, hls, odd}) {
    EXPECT_THAT(outcome.out, Not(HasSubstr(id.substr(0, 7)))) << "whoever knows an id may ask for the stream";
  }
  const Json::Value json = AsJson();
  ASSERT_EQ(json["streams"].size(), 3U);
  EXPECT_EQ(json["streams"][0]["type"], "HLS");
  EXPECT_EQ(json["streams"][0]["id"], hls.substr(0, 6));
  EXPECT_EQ(json["streams"][0]["film"], "/films/Grüße.mkv");
  EXPECT_GE(json["streams"][0]["idle_seconds"].asInt(), 450);
  EXPECT_GE(json["streams"][0]["bytes"].asInt(), 100'000);
  EXPECT_EQ(json["streams"][2]["film"], "/films/a\nb.mp4");
}

TEST_F(StatusTest, LeavesNoTraceOfUse) {
  const std::string raw = Open("RAW", "/films/a.mp4");
  Age(Folder("RAW", raw), 3 * 86'400);
  Run({"status"});
  EXPECT_GE(AsJson()["streams"][0]["idle_seconds"].asInt(), 3 * 86'400);
}

TEST_F(StatusTest, TellsWhereAnEncoderIsAtWork) {
  std::ofstream(system::kSettingsFile) << "jobs=\"7\"\n";
  const std::string id = Open("HLS", "/films/a.mkv");
  const std::string file = Folder("HLS", id) / "work/job.lock";
  EXPECT_FALSE(AsJson()["streams"][0]["encoding"].asBool());
  const base::Descriptor lock = engine::TakeJobLock(file);
  EXPECT_TRUE(AsJson()["streams"][0]["encoding"].asBool());
  const Outcome outcome = Run({"status"});
  EXPECT_THAT(outcome.out, HasSubstr("encoders  1 of 7\n"));
  EXPECT_THAT(outcome.out, HasSubstr(" yes       /films/a.mkv\n"));
}

TEST_F(StatusTest, ListsStreamsAndEncodersOfEveryType) {
  std::vector<base::Descriptor> locks;
  for (const std::string type : {"HLS", "SS", "WEBM"}) {
    const std::string id = Open(type, "/films/" + type + ".mkv");
    locks.push_back(engine::TakeJobLock(Folder(type, id) / "work/job.lock"));
  }
  Open("RAW", "/films/RAW.mkv");
  const Outcome outcome = Run({"status"});
  EXPECT_THAT(outcome.out, HasSubstr("encoders  3 of 2\nstreams   4\n"));
  for (const char* type : {"HLS", "SS", "WEBM"}) {
    EXPECT_THAT(outcome.out, HasSubstr(std::string(" yes       /films/") + type + ".mkv\n"));
  }
  EXPECT_THAT(outcome.out, HasSubstr(" no        /films/RAW.mkv\n"));
}

TEST_F(StatusTest, PassesOverWhatIsNoStream) {
  Open("HLS", "/films/a.mkv");
  std::ofstream(fs::path(system::kWorkspace) / "HLS/notes") << "x";
  fs::create_symlink("/nonexistent", Folder("HLS", std::string(32, 'a')));
  fs::create_directory(Folder("HLS", std::string(32, 'b')));
  EXPECT_EQ(AsJson()["streams"].size(), 1U);
}

TEST_F(StatusTest, SaysThatTheServiceDoesNotAnswer) {
  fs::create_directories(system::kRunFolder);
  const std::string file = std::string(system::kRunFolder) + "/serve.lock";
  const base::Descriptor lock(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(::flock(lock.Get(), LOCK_EX), 0);
  EXPECT_THAT(Run({"status"}).out, HasSubstr("service   running\n")) << "it has not said yet where";
  std::ofstream(std::string(system::kRunFolder) + "/front") << "0.0.0.0 1\n";
  EXPECT_THAT(Run({"status"}).out,
              HasSubstr("service   running, but does not answer at http://127.0.0.1:1/\n"));
  EXPECT_THAT(Run({"doctor"}).out,
              HasSubstr("FAIL  port       Kinora is running and does not answer at port 1 on 0.0.0.0"));
  fs::remove_all(system::kRunFolder);
}

}  // namespace
}  // namespace kinora::cli
