#include "platform/engine/film_cuts.h"

#include <gtest/gtest.h>

namespace kinora::engine {
namespace {

constexpr char kGood[] =
    R"({"indexed":true,"video":0,"trouble":"","cuts":[0,540000,900000],"frame_rate":[24000,1001],)"
    R"("codec":"avc1.64001f","peak_bitrate":6000000})";

std::string With(const std::string& from, const std::string& to) {
  std::string text = kGood;
  return text.replace(text.find(from), from.size(), to);
}

TEST(ParseFilmCuts, TakesWhatTheHelperSays) {
  const FilmCuts expected{true, 0, "", {0, 540000, 900000}, MediaTime(24000, 1001), "avc1.64001f", 6000000};
  EXPECT_EQ(ParseFilmCuts(kGood), expected);
}

TEST(ParseFilmCuts, KnowsAFilmWithoutAnIndex) {
  const std::optional<FilmCuts> film = ParseFilmCuts(R"({"indexed":false})");
  ASSERT_TRUE(film);
  EXPECT_FALSE(film->indexed);
}

TEST(ParseFilmCuts, PassesOverTheCutsOfAFilmThatIsNotCopied) {
  const std::string text = With("\"trouble\":\"\"", "\"trouble\":\"open\"");
  EXPECT_EQ(ParseFilmCuts(text)->trouble, "open");
  EXPECT_TRUE(ParseFilmCuts(text)->cuts.empty());
}

TEST(ParseFilmCuts, RefusesWhatIsNotAsItMustBe) {
  const std::string texts[] = {
      "",
      "{",
      "[]",
      "null",
      "{}",
      std::string(2000, '['),
      With("true", "1"),
      With("[0,540000,900000]", "[]"),
      With("[0,540000,900000]", "[0]"),
      With("[0,540000,900000]", "[1,540000]"),
      With("[0,540000,900000]", "[0,540000,540000]"),
      With("[0,540000,900000]", "[0,-1]"),
      With("[0,540000,900000]", "[0,1e30]"),
      With("[0,540000,900000]", "[0,9223372036854775807]"),
      With("[0,540000,900000]", "[0,\"1\"]"),
      With("[0,540000,900000]", "{}"),
      With("[24000,1001]", "[24000]"),
      With("[24000,1001]", "[-1,1]"),
      With("[24000,1001]", "25"),
      With("avc1.64001f", "avc1\\\"\\n#EXT"),
      With("avc1.64001f", std::string(65, 'a')),
      With("\"avc1.64001f\"", "5"),
      With("6000000", "-1"),
      With("\"video\":0", "\"video\":-2"),
      With("\"video\":0", "\"video\":1000"),
      With("\"trouble\":\"\"", "\"trouble\":null"),
  };
  for (const std::string& text : texts) EXPECT_FALSE(ParseFilmCuts(text)) << text;
}

TEST(ParseFilmCuts, AFrameRateOfNothingIsNotKnown) {
  EXPECT_EQ(ParseFilmCuts(With("[24000,1001]", "[0,0]"))->frame_rate, MediaTime(0));
}

}  // namespace
}  // namespace kinora::engine
