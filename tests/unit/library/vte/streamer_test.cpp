#include "library/vte/streamer.h"

#include <cstring>

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/system_log.h"

namespace fs = std::filesystem;

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::TheScript;

struct Outcome {
  bool stream = true;
  bool close = true;
};

// Notes that it was called and gives what it is told.
class ScriptedStreamer : public Streamer {
 public:
  ScriptedStreamer(const std::string& id, StreamType type, Outcome outcome = {})
      : Streamer(id, type), outcome_(outcome) {}

  bool StreamImp() const override {
    kinora::fakes::Called("StreamImp");
    return outcome_.stream;
  }
  bool CloseImp() const override {
    kinora::fakes::Called("CloseImp");
    return outcome_.close;
  }

 private:
  Outcome outcome_;
};

using StreamerTest = kinora::fakes::ScriptedWorkspaceTest;

TEST_F(StreamerTest, NamesItsTypeAsTheWorkspaceDoes) {
  EXPECT_EQ(ScriptedStreamer("id", Streamer::kNone).GetStreamTypeString(), "");
  EXPECT_EQ(ScriptedStreamer("id", Streamer::kRaw).GetStreamTypeString(), "RAW");
  EXPECT_EQ(ScriptedStreamer("id", Streamer::kHls).GetStreamTypeString(), "HLS");
  EXPECT_EQ(ScriptedStreamer("id", static_cast<Streamer::StreamType>(3)).GetStreamTypeString(), "SS");
  EXPECT_EQ(ScriptedStreamer("id", Streamer::kWebm).GetStreamTypeString(), "WEBM");
  for (const int type : {-1, 5, 1 << 30}) {
    EXPECT_EQ(ScriptedStreamer("id", static_cast<Streamer::StreamType>(type)).GetStreamTypeString(), "");
  }
}

TEST_F(StreamerTest, KnowsItsPaths) {
  const ScriptedStreamer streamer("id", Streamer::kHls);
  EXPECT_EQ(streamer.GetPathAccessStatus(), "/tmp/Kinora/HLS/id/access_status");
  EXPECT_EQ(streamer.GetPathSourceFile(), "/tmp/Kinora/HLS/id/filepath");
}

TEST_F(StreamerTest, CallsNoSubclassWithoutAnIdOrAType) {
  for (const ScriptedStreamer& streamer :
       {ScriptedStreamer("", Streamer::kRaw), ScriptedStreamer("id", Streamer::kNone)}) {
    EXPECT_FALSE(streamer.Stream());
    EXPECT_FALSE(streamer.Close());
  }
  ExpectCalls({});
  ExpectLog({});
}

TEST_F(StreamerTest, StreamsAsItsSubclassDoes) {
  EXPECT_TRUE(ScriptedStreamer("id", Streamer::kRaw).Stream());
  EXPECT_FALSE(ScriptedStreamer("id", Streamer::kRaw, {.stream = false, .close = true}).Stream());
  ExpectCalls({"StreamImp()", "StreamImp()"});
  ExpectLog({});
}

TEST_F(StreamerTest, ClosesWithoutALineWhenItsSubclassSucceeds) {
  EXPECT_TRUE(ScriptedStreamer("id", Streamer::kSs).Close());
  ExpectLog({});
}

TEST_F(StreamerTest, CountsAFailedCloseAsDoneWithOneLine) {
  EXPECT_TRUE(ScriptedStreamer("id", Streamer::kSs, {.stream = true, .close = false}).Close());
  ExpectCalls({"CloseImp()"});
  ExpectLog({"vte/streamer:# VTE - Failed to close SS[id]"});
}

TEST_F(StreamerTest, IgnoresTheFieldsThatItHasNoUseFor) {
  ScriptedStreamer streamer("id", Streamer::kRaw);
  streamer.SetFragmentID("1");
  streamer.SetPlaylistType("master");
  streamer.SetSubtitleID("2");
  streamer.SetSeekTime(3);
  EXPECT_TRUE(streamer.Stream());
  ExpectCalls({"StreamImp()"});
}

// The place of a virtual operation in the table of virtual functions, as the C++ ABI of this platform encodes
// it in a pointer to a member: one more than its offset in bytes.
template <typename Operation>
size_t Slot(Operation operation) {
  size_t encoded = 0;
  std::memcpy(&encoded, &operation, sizeof encoded);
  return (encoded - 1) / sizeof(void*);
}

TEST_F(StreamerTest, KeepsTheOrderOfItsVirtualOperations) {
  // The destructor takes the slots 0 and 1.
  EXPECT_EQ(Slot(&ScriptedStreamer::SetFragmentID), 2U);
  EXPECT_EQ(Slot(&ScriptedStreamer::SetPlaylistType), 3U);
  EXPECT_EQ(Slot(&ScriptedStreamer::SetSubtitleID), 4U);
  EXPECT_EQ(Slot(&ScriptedStreamer::SetSeekTime), 5U);
  EXPECT_EQ(Slot(&ScriptedStreamer::StreamImp), 6U);
  EXPECT_EQ(Slot(&ScriptedStreamer::CloseImp), 7U);
}

class RemoveDir : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  // What must survive: somebody's files, outside of any stream.
  void SetUp() override {
    ScriptedWorkspaceTest::SetUp();
    if (HasFatalFailure()) return;
    fs::create_directories(volume_ / "films");
    fs::create_directories(workspace_ / "RAW");
    fs::create_directories(workspace_ / "SYMLINK");
    PutFile(volume_ / "films" / "film.mp4", "film");
    fs::create_directory_symlink(volume_ / "films", workspace_ / "SYMLINK" / "share");
    fs::create_directory_symlink(volume_ / "films", volume_ / "films-link");
  }
  void TearDown() override {
    EXPECT_EQ(Content(volume_ / "films" / "film.mp4"), "film");
    EXPECT_TRUE(fs::is_symlink(workspace_ / "SYMLINK" / "share"));
    EXPECT_TRUE(fs::is_symlink(volume_ / "films-link"));
    ScriptedWorkspaceTest::TearDown();
  }

  static bool Remove(const std::string& id) { return ScriptedStreamer(id, Streamer::kRaw).RemoveDir(); }
  void PutLink(const std::string& id, const std::string& target) {
    ASSERT_EQ(symlink(target.c_str(), (workspace_ / "RAW" / id).c_str()), 0);
  }
};

TEST_F(RemoveDir, RemovesTheFolderWithAllItHoldsAndTheLink) {
  const fs::path folder = PutStream("RAW", "id");
  fs::create_directories(folder / "deep" / "er");
  PutFile(folder / "deep" / "file", "x");
  fs::create_directory_symlink(volume_ / "films", folder / "link");
  EXPECT_TRUE(Remove("id"));
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_FALSE(IsThere("RAW", "id"));
  ExpectCalls({"HLIBCExec(\"/bin/rm\", \"-rf\", \"" + folder.string() + "\")"});
  ExpectLog({});
}

TEST_F(RemoveDir, HandsTheTargetOverAsOneArgument) {
  const fs::path folder = volume_ / "a b; rm -rf $HOME\n*";
  fs::create_directories(folder);
  PutLink("id", folder);
  EXPECT_TRUE(Remove("id"));
  EXPECT_FALSE(fs::exists(folder));
  ExpectCalls({"HLIBCExec(\"/bin/rm\", \"-rf\", \"" + folder.string() + "\")"});
}

TEST_F(RemoveDir, OnlyRemovesTheLinkWhenTheFolderHasVanished) {
  PutLink("id", volume_ / "gone");
  EXPECT_TRUE(Remove("id"));
  EXPECT_FALSE(IsThere("RAW", "id"));
  ExpectCalls({});
  ExpectLog({});
}

TEST_F(RemoveDir, SucceedsWhenThereIsNoLink) {
  EXPECT_TRUE(Remove("missing"));
  ExpectCalls({});
  ExpectLog({});
}

TEST_F(RemoveDir, RemovesAPlainFileInTheLinksPlace) {
  PutFile(workspace_ / "RAW" / "id", "no link");
  EXPECT_TRUE(Remove("id"));
  EXPECT_FALSE(fs::exists(workspace_ / "RAW" / "id"));
  ExpectCalls({});
}

TEST_F(RemoveDir, RemovesTheLinkWhenTheFolderCannotBeRemoved) {
  PutStream("RAW", "id");
  TheScript().execute = [](const std::vector<std::string>&) { return -1; };
  EXPECT_TRUE(Remove("id"));
  EXPECT_FALSE(IsThere("RAW", "id"));
}

TEST_F(RemoveDir, ReadsTheLongestTargetThatALinkCanHave) {
  const fs::path folder = volume_ / "folder";
  fs::create_directories(folder);
  const std::string target = std::string(4095 - folder.string().size(), '/') + folder.string();
  PutLink("id", target);
  EXPECT_TRUE(Remove("id"));
  EXPECT_FALSE(fs::exists(folder));
  ExpectCalls({"HLIBCExec(\"/bin/rm\", \"-rf\", \"" + target + "\")"});
}

TEST_F(RemoveDir, TouchesNothingWhenTheIdIsNoFileName) {
  PutStream("RAW", "kept");
  for (const std::string& id :
       {std::string(), std::string("."), std::string(".."), std::string("../SYMLINK/share"),
        std::string("kept/"), std::string("kept/../../SYMLINK/share"), std::string("/tmp/Kinora/RAW/kept"),
        std::string("kept\0", 5)}) {
    EXPECT_TRUE(Remove(id));
  }
  EXPECT_TRUE(IsThere("RAW", "kept"));
  ExpectCalls({});
  EXPECT_EQ(kinora::fakes::LogTexts().size(), 8U);
  EXPECT_EQ(kinora::fakes::LogTexts()[3], "vte/streamer:# Refused to remove stream [../SYMLINK/share]");
}

TEST_F(RemoveDir, FollowsNoTargetThatEndsInASlash) {
  const std::string target = (volume_ / "films-link").string() + "/";
  PutLink("id", target);
  EXPECT_TRUE(Remove("id"));
  EXPECT_FALSE(IsThere("RAW", "id"));
  ExpectCalls({});
  ExpectLog({"vte/streamer:# Refused to remove [" + target + "]"});
}

TEST_F(RemoveDir, FollowsNoRelativeTarget) {
  const fs::path before = fs::current_path();
  fs::current_path(volume_);
  PutLink("id", "films");
  EXPECT_TRUE(Remove("id"));
  fs::current_path(before);
  ExpectCalls({});
  ExpectLog({"vte/streamer:# Refused to remove [films]"});
}

}  // namespace
}  // namespace crvnkn::webapi::vte
