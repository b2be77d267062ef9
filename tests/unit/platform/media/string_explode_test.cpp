#include "contract/media/string_explode.h"

#include <gmock/gmock.h>

namespace LibKinora {
namespace {

using ::testing::ElementsAre;

TEST(StringExplode, GivesThePiecesInOrder) {
  EXPECT_THAT(StringExplode("a:b:c", ":"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(StringExplode("00:00:01 --> 00:00:02", "-->"), ElementsAre("00:00:01 ", " 00:00:02"));
}

TEST(StringExplode, GivesEmptyPiecesToo) {
  EXPECT_THAT(StringExplode("", ":"), ElementsAre(""));
  EXPECT_THAT(StringExplode(":", ":"), ElementsAre("", ""));
  EXPECT_THAT(StringExplode("::a", ":"), ElementsAre("", "", "a"));
}

TEST(StringExplode, TakesASeparatorOnceAndFromTheLeft) {
  EXPECT_THAT(StringExplode("a---->b", "--"), ElementsAre("a", "", ">b"));
}

TEST(StringExplode, PartsNothingByNothing) {
  EXPECT_THAT(StringExplode("ab", ""), ElementsAre("ab"));
  EXPECT_THAT(StringExplode("ab", "c"), ElementsAre("ab"));
}

TEST(StringExplode, KeepsNuls) {
  EXPECT_THAT(StringExplode(std::string("a\0:b", 4), ":"), ElementsAre(std::string("a\0", 2), "b"));
}

}  // namespace
}  // namespace LibKinora
