#include "library/vte/open_argument.h"

#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::TheScript;
using OpenArgumentTest = kinora::fakes::ScriptedTest;

TEST_F(OpenArgumentTest, StartsWithNothingAskedFor) {
  const OpenArgument argument;
  EXPECT_EQ(argument.id, -1);
  EXPECT_EQ(argument.uid, -1);
  EXPECT_EQ(argument.engine_flag, 1);
  EXPECT_FALSE(argument.hls_header);
  EXPECT_FALSE(argument.force_open_vte);
  EXPECT_FALSE(argument.is_sharing);
  for (const std::string& text :
       {argument.format, argument.file_path, argument.audio_track, argument.host_prefix, argument.cgi_path,
        argument.api, argument.profile, argument.client, argument.subtitle_id, argument.token, argument.sid,
        argument.sharing_id, argument.audio_format}) {
    EXPECT_EQ(text, "");
  }
}

TEST_F(OpenArgumentTest, CopiesOwnTheirText) {
  OpenArgument argument;
  argument.file_path = "/v/film.mp4";
  const OpenArgument copy = argument;
  argument.file_path = "/v/other.mp4";
  EXPECT_EQ(copy.file_path, "/v/film.mp4");
}

TEST_F(OpenArgumentTest, CheckFilePathAsksNothingWhenThereIsAPath) {
  OpenArgument argument;
  argument.file_path = "/v/film.mp4";
  EXPECT_NO_THROW(argument.CheckFilePath());
  EXPECT_EQ(argument.file_path, "/v/film.mp4");
  EXPECT_EQ(argument.id, -1);
  ExpectCalls({});
}

TEST_F(OpenArgumentTest, CheckFilePathFillsThePathOfTheId) {
  TheScript().files = {{42, "/v/film.mp4", "mp4"}};
  OpenArgument argument;
  argument.id = 42;
  argument.CheckFilePath();
  EXPECT_EQ(argument.file_path, "/v/film.mp4");
}

TEST_F(OpenArgumentTest, CheckFilePathRefusesIdsBelowOne) {
  for (const int id : {0, -1, -2147483647}) {
    OpenArgument argument;
    argument.id = id;
    ExpectError(101, "Bad parameter", [&] { argument.CheckFilePath(); });
  }
  ExpectCalls({});
}

TEST_F(OpenArgumentTest, CheckFilePathPassesTheLookUpsErrorOnAndChangesNothing) {
  OpenArgument argument;
  argument.id = 42;
  ExpectError(1101, "Failed to get path from video id 42", [&] { argument.CheckFilePath(); });
  EXPECT_EQ(argument.file_path, "");
  EXPECT_EQ(argument.id, 42);
}

}  // namespace
}  // namespace crvnkn::webapi::vte
