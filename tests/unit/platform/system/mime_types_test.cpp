#include <gtest/gtest.h>

#include "contract/system/file_output.h"

namespace kinora::system {
namespace {

struct TypeCase {
  std::string name;
  const char* path;
  const char* type;
};

class GetMimeTypeTest : public testing::TestWithParam<TypeCase> {};

TEST_P(GetMimeTypeTest, FollowsFromTheNamesEnd) {
  EXPECT_EQ(HTTPFileOutputer::GetMimeType(GetParam().path), GetParam().type);
}

constexpr char kUnknown[] = "application/octet-stream";

INSTANTIATE_TEST_SUITE_P(
    Cases, GetMimeTypeTest,
    testing::Values(TypeCase{"Mp4", "/a/film.mp4", "video/mp4"},
                    TypeCase{"Mov", "film.mov", "video/quicktime"},
                    TypeCase{"Mkv", "film.mkv", "video/x-matroska"}, TypeCase{"Webm", "x.webm", "video/webm"},
                    TypeCase{"Ts", "x.ts", "video/mp2t"}, TypeCase{"M2ts", "x.m2ts", "video/mp2t"},
                    TypeCase{"Avi", "x.avi", "video/x-msvideo"}, TypeCase{"Wmv", "x.wmv", "video/x-ms-wmv"},
                    TypeCase{"Srt", "x.srt", "application/x-subrip"}, TypeCase{"Vtt", "x.vtt", "text/vtt"},
                    TypeCase{"M3u8", "x.m3u8", "application/x-mpegURL"},
                    TypeCase{"Jpg", "x.jpg", "image/jpeg"}, TypeCase{"First", "x.3g2", "video/3gpp2"},
                    TypeCase{"Last", "x.xml", "text/xml"}, TypeCase{"Capitals", "/A/FILM.MP4", "video/mp4"},
                    TypeCase{"LastOfTwo", "x.mkv.mp4", "video/mp4"},
                    TypeCase{"OnlyTheExtension", ".mp4", "video/mp4"},
                    TypeCase{"DotInTheFolder", "/a.mp4/film", kUnknown}, TypeCase{"None", "film", kUnknown},
                    TypeCase{"EndsInDot", "film.", kUnknown}, TypeCase{"Unknown", "film.xyz", kUnknown},
                    TypeCase{"LineBreak", "film.mp4\r\nX: y", kUnknown}, TypeCase{"Empty", "", kUnknown},
                    TypeCase{"Null", nullptr, kUnknown}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace kinora::system
