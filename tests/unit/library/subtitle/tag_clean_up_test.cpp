#include "library/subtitle/tag_clean_up.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace crvnkn::webapi::subtitle {
namespace {

constexpr TagCleanUp kAll{};
constexpr TagCleanUp kAllButBrackets{.keep_basic_tags = false, .strip_stray_brackets = false};
constexpr TagCleanUp kKeep{.keep_basic_tags = true, .strip_stray_brackets = true};
constexpr TagCleanUp kKeepBrackets{.keep_basic_tags = true, .strip_stray_brackets = false};

struct LineCase {
  std::string name;
  TagCleanUp wishes;
  std::string line;
  std::string clean;
};

class TagsOf : public testing::TestWithParam<LineCase> {};

TEST_P(TagsOf, ALine) { EXPECT_EQ(CleanUpTags(GetParam().line, GetParam().wishes), GetParam().clean + "\n"); }

INSTANTIATE_TEST_SUITE_P(
    Controls, TagsOf,
    testing::Values(LineCase{"Tab", kAll, "a\tb", "ab"}, LineCase{"CarriageReturnStays", kAll, "a\r", "a\r"},
                    LineCase{"Nul", kAll, std::string("a\0b", 3), "ab"},
                    LineCase{"Delete", kAll,
                             "a\x7f"
                             "b",
                             "ab"},
                    LineCase{"TheOthers", kAll,
                             "\x01\x08\x0b\x0c\x0e\x1f"
                             "x",
                             "x"},
                    LineCase{"BytesOfLettersStay", kAll, "\xc3\xa9\x80\x9f", "\xc3\xa9\x80\x9f"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(Overrides, TagsOf,
                         testing::Values(LineCase{"Position", kAll, "{\\an8}Top", "Top"},
                                         LineCase{"Several", kAll, "{\\i1}a{\\i0} {\\b1\\c&H00&}b", "a b"},
                                         LineCase{"WithoutABackslashStays", kAll, "{not a tag}",
                                                  "{not a tag}"},
                                         LineCase{"Unclosed", kAll, "{\\an8 Top", "{\\an8 Top"},
                                         LineCase{"ClosedOnce", kAll, "{\\a{\\b}}c", "}c"},
                                         LineCase{"Nested", kAll, "{{\\b}}", "{}"}),
                         [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Tags, TagsOf,
    testing::Values(LineCase{"AllGo", kAll, "<i>Hello</i> a<b", "Hello ab"},
                    LineCase{"AllGoBracketsStay", kAllButBrackets, "<i>Hello</i> a<b", "Hello a<b"},
                    LineCase{"NothingInside", kAllButBrackets, "a<>b", "a<>b"},
                    LineCase{"NothingInsideWithoutBrackets", kAll, "a<>b", "ab"},
                    LineCase{"ClosingBracketAlone", kAll, "a > b", "a  b"},
                    LineCase{"BasicStay", kKeep, "<i>Hi</i><span>x</span>", "<i>Hi</i>x"},
                    LineCase{"BasicStayWithBrackets", kKeepBrackets, "<u>a</u> <c>b</c> <", "<u>a</u> b <"},
                    LineCase{"BlanksBeforeTheName", kKeep, "< b>x< /b>", "< b>x< /b>"},
                    LineCase{"NamesThatOnlyBeginAlike", kKeep, "<big>x</big><brx>", "x"},
                    LineCase{"NamesInCapitalsAreNone", kKeep, "<I>x</I>", "x"},
                    LineCase{"Font", kKeep, "<font size=\"3\">x</font>", "<font size=\"3\">x</font>"},
                    LineCase{"InsideWithALetterOfTheMarker", kKeep, "<font color=\"#FFD700\">x</font>",
                             "__CRVN_START_font color=\"#FFD700\"_CRVN_END__x</font>"},
                    LineCase{"InsideWithAnUnderscore", kKeep, "<font face=\"a_b\">x",
                             "__CRVN_START_font face=\"a_b\"_CRVN_END__x"},
                    LineCase{"StrayBesideKept", kKeep, "<b>x</b> > 0 < 1", "<b>x</b>  0  1"},
                    LineCase{"StrayBeforeKept", kKeep, "1 < 2 <b>x</b>", "1 x</b>"},
                    LineCase{"MarkersThatWereThere", kAll, "__CRVN_START_script_CRVN_END__", "<script>"}),
    [](const auto& tested) { return tested.param.name; });

TEST(TimingLine, IsNeverTouchedByARemoval) {
  const std::string line = "00:00:01,000 --> 00:00:02,000\t<i>{\\an8}\n";
  EXPECT_EQ(CleanUpTags(line, kAllButBrackets), line);
  EXPECT_EQ(CleanUpTags("00:00:01,000 --> 00:00:02,000\n", kAll), "00:00:01,000 --> 00:00:02,000\n");
  EXPECT_EQ(CleanUpTags("00:00:01,000 --> 00:00:02,000\n", kKeep), "00:00:01,000 --> 00:00:02,000\n");
}

// Tags that stay are marked in the text as a whole: one that is not closed reaches to the next bracket.
TEST(TimingLine, ClosesATagThatWasLeftOpenBeforeIt) {
  EXPECT_EQ(CleanUpTags("<b x\n0:0:1 --> 0:0:2\na\n", kAll), "<b x\n0:0:1 --> 0:0:2\na\n");
  EXPECT_EQ(CleanUpTags("<b D\n0:0:1 --> 0:0:2\na\n", kAll),
            "__CRVN_START_b D\n0:0:1 --_CRVN_END__ 0:0:2\na\n");
}

TEST(CleanUpTags, EndsEveryLineWithALineFeed) {
  EXPECT_EQ(CleanUpTags("", kAll), "");
  EXPECT_EQ(CleanUpTags("a", kAll), "a\n");
  EXPECT_EQ(CleanUpTags("a\n\nb", kAll), "a\n\nb\n");
  EXPECT_EQ(CleanUpTags("\n", kAll), "\n");
}

std::string Repeated(const std::string& piece, size_t size) {
  std::string text;
  while (text.size() < size) text += piece;
  return text;
}

// Lines that patterns could run wild in: with a search from each beginning this test would take hours.
TEST(CleanUpTags, BearsHostileLines) {
  const std::vector<std::string> pieces = {
      "<",       "<b",   "<b ",     "< ",   "{\\",           "{",
      "</",      "<b>",  "<font a", "<<b>", "__CRVN_START_", "__CRVN_START_a",
      "{\\{\\a", "<x><", "<b\n",    "<b\r", "_CRVN_END__",   "<i>x</i>\n"};
  for (const std::string& piece : pieces) {
    for (const char* const end : {"", ">}"}) {
      SCOPED_TRACE(piece + " ... " + end);
      const std::string text = Repeated(piece, 200'000) + end;
      EXPECT_LE(CleanUpTags(text, kAll).size(), text.size() * 9);
      CleanUpTags(text, kKeep);
      CleanUpTags(text, kKeepBrackets);
    }
  }
}

TEST(CleanUpTags, LeavesNoTagOnALongLine) {
  const std::string clean = CleanUpTags(Repeated("text <c.a>{\\an8}</c>", 1'000'000), kAll);
  EXPECT_EQ(clean.find_first_of("<>{}"), std::string::npos);
  EXPECT_EQ(clean.substr(0, 10), "text text ");
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
