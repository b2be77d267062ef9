#include "library/vte/raw.h"

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/standard_output.h"

namespace fs = std::filesystem;

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::StandardOutput;
using kinora::fakes::TheScript;

class RawTest : public kinora::fakes::ScriptedWorkspaceTest {
 protected:
  void PutRaw(const std::string& source, const std::string& container) {
    TheScript().mime_types = {
        {".mp4", "video/mp4"}, {".mov", "video/quicktime"}, {".mkv", "video/x-matroska"}};
    const fs::path folder = PutStream("RAW", "id");
    PutFile(folder / "filepath", source);
    PutFile(folder / "container", container);
  }
};

TEST_F(RawTest, WritesTheRangesLineAndLeavesTheRestToTheFileOutput) {
  PutRaw("/v/film.mkv", "mkv");
  const StandardOutput output;
  EXPECT_TRUE(RAW("id").Stream());
  EXPECT_EQ(output.Text(), "Accept-Ranges: bytes\r\nBODY");
  ExpectCalls({"GetMimeType(\"/v/film.mkv\")", "SetFastOutputEnabled(false)",
               "OutputFile(\"/v/film.mkv\", \"video/x-matroska\")"});
  ExpectLog({});
}

TEST_F(RawTest, HasSentTheRangesLineWhenTheFileOutputBegins) {
  PutRaw("/v/film.mkv", "mkv");
  TheScript().output = "";  // so that nothing but the streamer can have flushed
  const StandardOutput output;
  EXPECT_TRUE(RAW("id").Stream());
  EXPECT_EQ(output.TextBeforeFlush(), "Accept-Ranges: bytes\r\n");
}

struct MimeCase {
  std::string name;
  std::string source;
  std::string container;
  std::string mime;
};

class RawMimeType : public RawTest, public testing::WithParamInterface<MimeCase> {};

TEST_P(RawMimeType, IsOneThatPlayersTake) {
  PutRaw(GetParam().source, GetParam().container);
  const StandardOutput output;
  EXPECT_TRUE(RAW("id").Stream());
  EXPECT_EQ(kinora::fakes::Calls().back(),
            "OutputFile(\"" + GetParam().source + "\", \"" + GetParam().mime + "\")");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RawMimeType,
    testing::Values(MimeCase{"Mp4ContainerInAMatroskaName", "/v/film.mkv", "mp4", "video/mp4"},
                    MimeCase{"QuickTimeNameWithoutContainer", "/v/film.mov", "", "video/mp4"},
                    MimeCase{"QuickTimeNameAndContainer", "/v/film.mov", "mov", "video/mp4"},
                    MimeCase{"UpperCaseContainerCountsForNothing", "/v/film.mkv", "MP4", "video/x-matroska"},
                    MimeCase{"ContainerWithALineEndCountsForNothing", "/v/film.mkv", "mp4\n",
                             "video/x-matroska"},
                    MimeCase{"OtherContainer", "/v/film.mp4", "mkv", "video/mp4"},
                    MimeCase{"UnknownName", "/v/film", "", "application/octet-stream"}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(RawTest, TakesTheTypeFromTheNameWhenTheContainerFileIsMissing) {
  PutRaw("/v/film.mkv", "");
  fs::remove(volume_ / "RAW-id" / "container");
  const StandardOutput output;
  EXPECT_TRUE(RAW("id").Stream());
  ExpectLog({"vte/utils:# Failed to open file [/tmp/Kinora/RAW/id/container]"});
}

TEST_F(RawTest, WritesNothingWhenThePathsFileIsMissing) {
  PutStream("RAW", "id");
  const StandardOutput output;
  EXPECT_FALSE(RAW("id").Stream());
  EXPECT_EQ(output.Text(), "");
  ExpectCalls({});
  ExpectLog({"vte/utils:# Failed to open file [/tmp/Kinora/RAW/id/filepath]"});
}

TEST_F(RawTest, WritesNothingWhenThePathIsEmpty) {
  PutRaw("", "mp4");
  const StandardOutput output;
  EXPECT_FALSE(RAW("id").Stream());
  EXPECT_EQ(output.Text(), "");
  ExpectCalls({});
  ExpectLog({});
}

TEST_F(RawTest, WritesNothingForAStreamThatIsNotThere) {
  const StandardOutput output;
  EXPECT_FALSE(RAW("unknown").Stream());
  EXPECT_FALSE(RAW("").Stream());
  EXPECT_EQ(output.Text(), "");
}

TEST_F(RawTest, GoesOnWhenFastOutputCannotBeSwitchedOff) {
  PutRaw("/v/film.mp4", "mp4");
  TheScript().set_fast_output = false;
  const StandardOutput output;
  EXPECT_TRUE(RAW("id").Stream());
  EXPECT_EQ(output.Text(), "Accept-Ranges: bytes\r\nBODY");
  ExpectLog({"vte/raw:# unset X-Accel-Redirect failed"});
}

TEST_F(RawTest, FailsNamingTheFileWhenItsOutputFails) {
  PutRaw("/v/film.mp4", "mp4");
  TheScript().output_file = false;
  TheScript().output = "";
  const StandardOutput output;
  EXPECT_FALSE(RAW("id").Stream());
  EXPECT_EQ(output.Text(), "Accept-Ranges: bytes\r\n");
  ExpectLog({"vte/raw:# VTE - Failed to stream out RAW[/v/film.mp4]"});
}

TEST_F(RawTest, CloseRemovesTheFolderAndTheLink) {
  PutRaw("/v/film.mp4", "mp4");
  EXPECT_TRUE(RAW("id").Close());
  EXPECT_FALSE(IsThere("RAW", "id"));
  EXPECT_FALSE(fs::exists(volume_ / "RAW-id"));
}

}  // namespace
}  // namespace crvnkn::webapi::vte
