#include "tests/fakes/scripted_test.h"

namespace fs = std::filesystem;

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::TheScript;

constexpr char kFilm[] = "/v/film.mp4";

class InitRaw : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  std::string SetUpRaw() { return StreamIniter(Request(kFilm, "raw")).InitRAW(); }

  const fs::path stream_ = workspace_ / "RAW" / "newstream";
};

TEST_F(InitRaw, LeavesAFolderThatRemembersTheFile) {
  TheScript().files = {{42, kFilm, "mov"}};
  EXPECT_EQ(SetUpRaw(), "newstream");
  EXPECT_TRUE(IsThere("RAW", "newstream"));
  EXPECT_EQ(Content(stream_ / "filepath"), kFilm);
  EXPECT_EQ(Content(stream_ / "container"), "mov");
  EXPECT_FALSE(fs::exists(stream_ / "access_status"));
  ExpectCalls({"LoadFile(\"/v/film.mp4\")", "GetRandStreamID(\"/v/film.mp4\")",
               "CRVNFSMkdirPKinora(\"/tmp/Kinora/RAW\", 511)",
               "GetVolTmpAndSymlink(1048576, \"newstream\", \"RAW\")", "GetFileByPath(\"/v/film.mp4\")"});
  ExpectLog({});
}

TEST_F(InitRaw, LeavesTheContainerEmptyWhenTheDatabaseDoesNotKnowTheFile) {
  EXPECT_EQ(SetUpRaw(), "newstream");
  EXPECT_TRUE(fs::exists(stream_ / "container"));
  EXPECT_EQ(Content(stream_ / "container"), "");
}

TEST_F(InitRaw, LeavesTheContainerEmptyWhenTheRecordHasNoId) {
  TheScript().files = {{0, kFilm, "mov"}};
  SetUpRaw();
  EXPECT_EQ(Content(stream_ / "container"), "");
}

TEST_F(InitRaw, WritesAnEmptyContainerNameAsItIs) {
  TheScript().files = {{42, kFilm, ""}};
  SetUpRaw();
  EXPECT_TRUE(fs::exists(stream_ / "container"));
  EXPECT_EQ(Content(stream_ / "container"), "");
}

TEST_F(InitRaw, DirectSetUpAsksForNoContainer) {
  EXPECT_EQ(StreamIniter(Request(kFilm, "raw")).InitDirectStream(), "newstream");
  EXPECT_EQ(Content(stream_ / "filepath"), kFilm);
  EXPECT_FALSE(fs::exists(stream_ / "container"));
}

TEST_F(InitRaw, KeepsPathsOfAnyBytes) {
  const std::string path = "/v/caf\xE9 \n'\".mp4";
  StreamIniter(Request(path, "raw")).InitRAW();
  EXPECT_EQ(Content(stream_ / "filepath"), path);
}

TEST_F(InitRaw, FailsWithoutAnId) {
  TheScript().stream_id = "";
  ExpectError(1212, "GetRandStreamID failed ", [&] { SetUpRaw(); });
  EXPECT_FALSE(fs::exists(workspace_ / "RAW"));
}

TEST_F(InitRaw, FailsWithoutTheTypesFolder) {
  TheScript().make_folder = false;
  ExpectError(1212, "CRVNFSMkdirPKinora failed", [&] { SetUpRaw(); });
  ExpectCalls({"LoadFile(\"/v/film.mp4\")", "GetRandStreamID(\"/v/film.mp4\")",
               "CRVNFSMkdirPKinora(\"/tmp/Kinora/RAW\", 511)"});
}

TEST_F(InitRaw, FailsNamingTheBytesWhenNoVolumeHasTheSpace) {
  TheScript().link_working_folder = [](uint64_t, const std::string&, const std::string&) { return false; };
  ExpectError(1203, "There are not enough volume space for streaming. Need space 1048576",
              [&] { SetUpRaw(); });
}

TEST_F(InitRaw, FailsWhenThePathCannotBeWritten) {
  TheScript().link_working_folder = [](uint64_t, const std::string&, const std::string&) { return true; };
  ExpectError(1212, "save file path failed", [&] { SetUpRaw(); });
}

TEST_F(InitRaw, FailsWhenTheContainerCannotBeWrittenAndUndoesNothing) {
  fs::create_directories(volume_ / "RAW-newstream" / "container");  // a folder where the file should be
  ExpectError(1212, "save container info failed", [&] { SetUpRaw(); });
  EXPECT_EQ(Content(stream_ / "filepath"), kFilm);
}

TEST_F(InitRaw, LetsTheDatabasesFailurePass) {
  TheScript().database_fails = true;
  EXPECT_THROW(SetUpRaw(), LibKinora::db::Failure);
  EXPECT_EQ(kinora::fakes::OpenDatabases(), 0);
}

TEST_F(InitRaw, SweepsStaleRawStreamsAloneOnceItsOwnPathIsWritten) {
  using std::chrono::seconds;
  PutStream("RAW", "stale");
  PutMark("RAW", "stale", seconds(3600));
  PutStream("HLS", "stale");
  PutMark("HLS", "stale", seconds(3600));
  bool own_path_written = false;
  const auto run = TheScript().execute;
  TheScript().execute = [&](const std::vector<std::string>& arguments) {
    own_path_written = Content(stream_ / "filepath") == kFilm;
    return run(arguments);
  };
  EXPECT_EQ(SetUpRaw(), "newstream");
  EXPECT_TRUE(own_path_written);
  EXPECT_FALSE(IsThere("RAW", "stale"));
  EXPECT_TRUE(IsThere("RAW", "newstream"));
  EXPECT_TRUE(IsThere("HLS", "stale"));
}

}  // namespace
}  // namespace crvnkn::webapi::vte
