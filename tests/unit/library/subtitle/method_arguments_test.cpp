#include "library/subtitle/method_arguments.h"

#include <syslog.h>

#include "tests/fakes/subtitle_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::TheScript;

TEST(GetMethodArguments, AsksForNothingInParticularAtFirst) {
  const GetMethodArguments request;
  EXPECT_EQ(request.video_path, "");
  EXPECT_EQ(request.subtitle_id, "");
  EXPECT_EQ(request.codepage, "auto");
  EXPECT_EQ(request.ea_path, "");
  EXPECT_EQ(request.start_time, -1);
  EXPECT_EQ(request.end_time, -1);
  EXPECT_FALSE(request.output_webvtt);
  EXPECT_FALSE(request.preview);
  EXPECT_FALSE(request.keep_basic_tags);
  EXPECT_TRUE(request.strip_stray_brackets);
  EXPECT_EQ(request.uid, -1);
  EXPECT_FALSE(request.IsEmbedded());
}

TEST(GetMethodArguments, IsAboutAnEmbeddedSubtitleWhenTheIdBeginsWithADigit) {
  GetMethodArguments request;
  for (const char* const id : {"0", "9", "12", "3abc", "0/v/a.srt"}) {
    request.subtitle_id = id;
    EXPECT_TRUE(request.IsEmbedded()) << id;
  }
  for (const char* const id : {"", "DLNA", "/v/0.srt", " 0", "-1", "a1", "\xB2"}) {
    request.subtitle_id = id;
    EXPECT_FALSE(request.IsEmbedded()) << id;
  }
}

class SubtitleEaPath : public kinora::fakes::SubtitleTest {};

TEST_F(SubtitleEaPath, IsTheVideosForAnEmbeddedSubtitle) {
  TheScript().ea_folder = [](const std::string&) { return "/ea"; };
  GetMethodArguments request = Wish("2");
  EXPECT_EQ(request.GetSubtitleEaPath(), "/ea");
  EXPECT_EQ(request.ea_path, "/ea");
  ExpectCalls({"crvnindex::GetEADirPath(\"" + Film().string() + "\", 4096)"});
}

TEST_F(SubtitleEaPath, IsTheSubtitlesForAFile) {
  TheScript().ea_folder = [](const std::string& path) { return path + ".ea"; };
  EXPECT_EQ(Wish("/v/film.en.srt").GetSubtitleEaPath(), "/v/film.en.srt.ea");
  ExpectCalls({R"(crvnindex::GetEADirPath("/v/film.en.srt", 4096))"});
}

TEST_F(SubtitleEaPath, IsAskedForOnce) {
  TheScript().ea_folder = [](const std::string&) { return "/ea"; };
  GetMethodArguments request = Wish("2");
  request.GetSubtitleEaPath();
  GetMethodArguments copy = request;
  EXPECT_EQ(request.GetSubtitleEaPath(), "/ea");
  EXPECT_EQ(copy.GetSubtitleEaPath(), "/ea");
  EXPECT_EQ(Calls().size(), 1U);
}

TEST_F(SubtitleEaPath, IsTakenAsItWasGiven) {
  GetMethodArguments request = Wish("2");
  request.ea_path = "/given";
  EXPECT_EQ(request.GetSubtitleEaPath(), "/given");
  ExpectCalls({});
}

TEST_F(SubtitleEaPath, IsEmptyWhenThereIsNoneAndAskedForAgain) {
  TheScript().ea_folder = [](const std::string&) { return ""; };
  GetMethodArguments request = Wish("/v/film.srt");
  EXPECT_EQ(request.GetSubtitleEaPath(), "");
  EXPECT_EQ(request.ea_path, "");
  ExpectLog({"subtitle/cached:# GetEADirPath failed: /v/film.srt"});
  EXPECT_EQ(kinora::fakes::LogLines()[0].priority, LOG_ERR);
  TheScript().ea_folder = [](const std::string&) { return "/ea"; };
  EXPECT_EQ(request.GetSubtitleEaPath(), "/ea");
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
