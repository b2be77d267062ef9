#include "library/subtitle/cache_names.h"

#include "tests/fakes/subtitle_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::TheScript;

GetMethodArguments Asking(const std::string& subtitle_id, const std::string& codepage, bool preview) {
  GetMethodArguments request;
  request.video_path = "/v/film.mkv";
  request.subtitle_id = subtitle_id;
  request.codepage = codepage;
  request.preview = preview;
  request.ea_path = "/ea";
  return request;
}

struct NameCase {
  std::string name;
  std::string subtitle_id;
  std::string codepage;
  bool preview;
  std::string v1;
  std::string v2;
};

class CacheNames : public kinora::fakes::SubtitleTest, public testing::WithParamInterface<NameCase> {};

TEST_P(CacheNames, TellAllThatTheContentDependsOn) {
  TheScript().settings["codepage"] = "cht";
  GetMethodArguments request = Asking(GetParam().subtitle_id, GetParam().codepage, GetParam().preview);
  EXPECT_EQ(V1Path(request), "/ea/CRVNVIDEO_2_0_SUBTITLE_V1" + GetParam().v1 + ".srt");
  EXPECT_EQ(V2Path(request), "/ea/CRVNVIDEO_2_0_SUBTITLE_V2" + GetParam().v2 + ".srt");
  EXPECT_EQ(RetiredV2Path(request), "/ea/CRVNVIDEO_2_0_SUBTITLE_V2_KEEP_SRT_TAG" + GetParam().v2 + ".srt");
}

INSTANTIATE_TEST_SUITE_P(
    Requests, CacheNames,
    testing::Values(NameCase{"Embedded", "2", "auto", false, "_2", "_auto_cht_2"},
                    NameCase{"EmbeddedPreview", "2", "auto", true, "_PREVIEW_2", "_auto_cht_PREVIEW_2"},
                    NameCase{"EmbeddedWithACodepage", "0", "CP1251", false, "_0", "_CP1251_0"},
                    NameCase{"EmbeddedByItsFirstByte", "3abc", "auto", false, "_3abc", "_auto_cht_3abc"},
                    NameCase{"AFile", "/v/film.srt", "auto", false, "_auto_cht", "_auto_cht"},
                    NameCase{"AFileWithACodepage", "/v/film.srt", "BIG5", false, "_BIG5", "_BIG5"},
                    NameCase{"AFilesPreview", "/v/film.srt", "BIG5", true, "_BIG5_PREVIEW", "_BIG5_PREVIEW"}),
    [](const auto& tested) { return tested.param.name; });

using CacheName = kinora::fakes::SubtitleTest;

TEST_F(CacheName, AsksForTheCodePageOfTheMachineOnlyWhereItIsAuto) {
  GetMethodArguments request = Asking("/v/film.srt", "CP1251", false);
  V2Path(request);
  ExpectCalls({});
}

TEST_F(CacheName, IsEmptyWithoutAFolder) {
  TheScript().ea_folder = [](const std::string&) { return ""; };
  GetMethodArguments request = Wish("2");
  EXPECT_EQ(V1Path(request), "");
  EXPECT_EQ(V2Path(request), "");
}

TEST_F(CacheName, NeverLeavesTheFolder) {
  GetMethodArguments request = Asking("2/../../../etc/passwd", "auto", false);
  EXPECT_EQ(V1Path(request), "");
  EXPECT_EQ(V2Path(request), "");
  request = Asking("/v/film.srt", "../x", false);
  EXPECT_EQ(V1Path(request), "");
  request = Asking(std::string("2\0", 2), "auto", false);
  EXPECT_EQ(V1Path(request), "");
}

TEST_F(CacheName, OfALockIsThatOfV1) { EXPECT_EQ(LockPath("/ea/V1.srt"), "/ea/V1.srt.lock"); }

TEST_F(CacheName, OfTheOtherPreviewLeavesTheRequestAsItIs) {
  GetMethodArguments request = Asking("2", "CP1251", true);
  GetMethodArguments whole = WithPreview(request, false);
  EXPECT_EQ(V2Path(whole), "/ea/CRVNVIDEO_2_0_SUBTITLE_V2_CP1251_2.srt");
  EXPECT_TRUE(request.preview);
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
