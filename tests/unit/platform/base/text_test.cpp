#include "platform/base/text.h"

#include <gtest/gtest.h>

namespace kinora::base {
namespace {

struct Utf8Case {
  std::string name;
  std::string bytes;
  std::string text;  // with U+FFFD for what is not UTF-8
};

class Utf8 : public testing::TestWithParam<Utf8Case> {};

TEST_P(Utf8, ReplacesExactlyTheBytesThatAreNotText) {
  EXPECT_EQ(ToUtf8(GetParam().bytes), GetParam().text);
  EXPECT_EQ(IsUtf8(GetParam().bytes), GetParam().bytes == GetParam().text);
}

#define NOT_TEXT "\xEF\xBF\xBD"

INSTANTIATE_TEST_SUITE_P(Cases, Utf8,
                         testing::Values(Utf8Case{"Empty", "", ""}, Utf8Case{"Ascii", "plain", "plain"},
                                         Utf8Case{"TwoBytes", "\xC3\xA9t", "\xC3\xA9t"},
                                         Utf8Case{"FourBytes", "\xF0\x9F\x8E\xAC", "\xF0\x9F\x8E\xAC"},
                                         Utf8Case{"Latin1", "caf\xE9", "caf" NOT_TEXT},
                                         Utf8Case{"OverlongSlash", "\xC0\xAF", NOT_TEXT NOT_TEXT},
                                         Utf8Case{"Surrogate", "\xED\xA0\x80", NOT_TEXT NOT_TEXT NOT_TEXT},
                                         Utf8Case{"PastTheLast", "\xF4\x90\x80\x80",
                                                  NOT_TEXT NOT_TEXT NOT_TEXT NOT_TEXT},
                                         Utf8Case{"CutShort", "cut \xE2\x82", "cut " NOT_TEXT NOT_TEXT}),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(ToHex, GivesTwoLowerCaseDigitsForEachByte) {
  EXPECT_EQ(ToHex(std::string("\x00\xAB\x7F", 3)), "00ab7f");
}

TEST(Trim, TakesTheBlanksFromBothEnds) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""}, {" \t", ""}, {"a", "a"}, {"\t a b ", "a b"}, {"a\r", "a\r"}};
  for (const auto& [text, trimmed] : cases) EXPECT_EQ(Trim(text), trimmed) << text;
  EXPECT_EQ(Trim(" a\r", " \r"), "a");
}

TEST(ToLowerAscii, LeavesAllButLettersOfAsciiAsTheyAre) {
  EXPECT_EQ(ToLowerAscii("MKV-@[`{\xC3\x84\xFF"), "mkv-@[`{\xC3\x84\xFF");
}

TEST(FolderOf, GivesWhatSomethingLiesIn) {
  const std::pair<std::string, std::string> cases[] = {
      {"/a/b", "/a"}, {"/a", "/"}, {"a/b", "a"}, {"a", "."}, {"/a/", "/a"}};
  for (const auto& [path, folder] : cases) EXPECT_EQ(FolderOf(path), folder) << path;
}

TEST(ToOneLine, ReplacesWhatWouldBreakOrTurnALine) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"plain, Zoë, 東京 😀", "plain, Zoë, 東京 😀"},
      {"a\r\nb\tc", "a??b?c"},
      {std::string("a\0b", 3), "a?b"},
      {"\x1b[31m\x7f", "?[31m?"},
      {"a\xC2\x9B"
       "b\xC2\xA0",
       "a?b\xC2\xA0"},
      {"a\xE2\x80\xA8"
       "b\xE2\x80\xAE"
       "c\xE2\x81\xA6",
       "a?b?c?"},
      {"a\xFF"
       "b",
       "a\xEF\xBF\xBD"
       "b"},
  };
  for (const auto& [text, line] : cases) EXPECT_EQ(ToOneLine(text), line);
}

}  // namespace
}  // namespace kinora::base
