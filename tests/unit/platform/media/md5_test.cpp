#include "contract/media/md5.h"

#include <gmock/gmock.h>

namespace LibKinora {
namespace {

TEST(GetMD5, IsTheSameForTheSamePathAndAnotherForEveryOther) {
  EXPECT_EQ(GetMD5("/v/film.mkv"), GetMD5("/v/film.mkv"));
  EXPECT_NE(GetMD5("/v/film.mkv"), GetMD5("/v/film.mkv "));
  EXPECT_NE(GetMD5("/v/film.mkv"), GetMD5("/w/film.mkv"));
}

TEST(GetMD5, IsFitForAFolder) {
  for (const std::string& path :
       {std::string("/"), std::string("/../x"), std::string("\xff\n"), std::string(10'000, 'x')})
    EXPECT_THAT(GetMD5(path), testing::MatchesRegex("[0-9a-f]{64}"));
}

TEST(GetMD5, IsEmptyForNoPath) { EXPECT_EQ(GetMD5(""), ""); }

}  // namespace
}  // namespace LibKinora
