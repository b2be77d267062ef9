#include "library/subtitle/webvtt.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

namespace crvnkn::webapi::subtitle {
namespace {

const std::string kHeader = "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n";

// What follows the header; "none" when there is no document.
std::string CuesOf(const std::string& text, const CueWindow& window = {}) {
  const std::string document = ConvertToWebvtt(text, window);
  if (document.empty()) return "none";
  EXPECT_EQ(document.substr(0, kHeader.size()), kHeader);
  return document.substr(kHeader.size());
}

TEST(WebvttHeader, IsOfItsKnownLength) {
  EXPECT_EQ(kWebvttHeader, kHeader);
  EXPECT_EQ(std::strlen(kWebvttHeader), 57u);
}

struct TextCase {
  std::string name;
  std::string text;
  std::string cues;
};

class WebvttFrom : public testing::TestWithParam<TextCase> {};

TEST_P(WebvttFrom, SubRip) { EXPECT_EQ(CuesOf(GetParam().text), GetParam().cues); }

INSTANTIATE_TEST_SUITE_P(
    Texts, WebvttFrom,
    testing::Values(
        TextCase{"TwoCues",
                 "1\n00:00:01,500 --> 00:00:03,000\nHello\n\n2\n00:00:04,000 --> 00:00:05,000\nBye\n",
                 "00:00:01.500 --> 00:00:03.000\nHello\n\n00:00:04.000 --> 00:00:05.000\nBye\n"},
        TextCase{"Empty", "", "none"}, TextCase{"NoTimingLine", "1\nHello\n\n2\nBye\n", "none"},
        TextCase{"NoLastLineFeed", "0:0:1,0 --> 0:0:2,0\nHello", "0:0:1.0 --> 0:0:2.0\nHello\n"},
        TextCase{"SeveralLinesInACue", "0:0:1 --> 0:0:2\na\nb\nc\n", "0:0:1 --> 0:0:2\na\nb\nc\n"},
        TextCase{"CommasInTextStay", "0:0:1,0 --> 0:0:2,0\na, b\n", "0:0:1.0 --> 0:0:2.0\na, b\n"},
        TextCase{"SettingsBehindTheTimesStay", "0:0:1,0 --> 0:0:2,0 align,start\na\n",
                 "0:0:1.0 --> 0:0:2.0 align.start\na\n"},
        TextCase{"WindowsLineEnds",
                 "1\r\n0:0:1,0 --> 0:0:2,0\r\nHello\r\n\r\n2\r\n0:0:3,0 --> 0:0:4,0\r\nBye\r\n",
                 "0:0:1.0 --> 0:0:2.0\r\nHello\r\n\r\n0:0:3.0 --> 0:0:4.0\r\nBye\r\n"},
        TextCase{"WhateverFollowsABlankLineGoes",
                 "0:0:1 --> 0:0:2\na\n\nlost\nlost too\n0:0:3 --> 0:0:4\nb\n",
                 "0:0:1 --> 0:0:2\na\n\n0:0:3 --> 0:0:4\nb\n"},
        TextCase{"SeveralBlankLines", "0:0:1 --> 0:0:2\na\n\n\n\n2\n0:0:3 --> 0:0:4\nb\n",
                 "0:0:1 --> 0:0:2\na\n\n0:0:3 --> 0:0:4\nb\n"},
        TextCase{"ABlankLineRightAfterTheTimes", "0:0:1 --> 0:0:2\n\nlost\n", "0:0:1 --> 0:0:2\n\n"},
        TextCase{"TimesWithoutABlankLineBetween", "0:0:1 --> 0:0:2\n0:0:3 --> 0:0:4\nb\n",
                 "0:0:1 --> 0:0:2\n0:0:3 --> 0:0:4\nb\n"},
        TextCase{"BlankIsNothingButACarriageReturn", "0:0:1 --> 0:0:2\na\n \nb\n\r\r\nc\n",
                 "0:0:1 --> 0:0:2\na\n \nb\n\r\r\nc\n"},
        TextCase{"TooFewFieldsAreText", "0:0:1 --> 0:0:2\n0:1 --> 0:2\n", "0:0:1 --> 0:0:2\n0:1 --> 0:2\n"},
        TextCase{"ExtraFieldsBehindTheEndAreText", "0:0:1 --> 0:0:2\n0:0:3 --> 0:0:4 X1:0\n",
                 "0:0:1 --> 0:0:2\n0:0:3 --> 0:0:4 X1:0\n"},
        TextCase{"TwoArrowsAreText", "0:0:1 --> 0:0:2\n0:0:3 --> 0:0:4 -->\n",
                 "0:0:1 --> 0:0:2\n0:0:3 --> 0:0:4 -->\n"},
        TextCase{"AnyThreeFieldsAreTimes", "a:b:c --> d:e:f\ntext\n", "a:b:c --> d:e:f\ntext\n"},
        TextCase{"ZeroTimesStayWithoutAWindow", "00:00:00,000 --> 00:00:00,000\na\n",
                 "00:00:00.000 --> 00:00:00.000\na\n"},
        TextCase{"TimesOutOfOrder", "0:0:9 --> 0:0:2\na\n\n0:0:1 --> 0:0:1\nb\n",
                 "0:0:9 --> 0:0:2\na\n\n0:0:1 --> 0:0:1\nb\n"}),
    [](const auto& tested) { return tested.param.name; });

struct WindowCase {
  std::string name;
  std::string times;
  CueWindow window;
  bool kept;
};

class CueWindowOf : public testing::TestWithParam<WindowCase> {};

TEST_P(CueWindowOf, DecidesByOverlap) {
  const std::string kept = CuesOf(GetParam().times + "\nHello\n", GetParam().window);
  EXPECT_EQ(kept != "none", GetParam().kept) << kept;
}

INSTANTIATE_TEST_SUITE_P(
    Windows, CueWindowOf,
    testing::Values(
        WindowCase{"Within", "00:00:12,000 --> 00:00:15,000", {10, 20}, true},
        WindowCase{"Across", "00:00:05,000 --> 00:00:25,000", {10, 20}, true},
        WindowCase{"EndsAtTheStart", "00:00:05,000 --> 00:00:10,000", {10, 20}, true},
        WindowCase{"EndsBeforeTheStart", "00:00:05,000 --> 00:00:09,999", {10, 20}, false},
        WindowCase{"MillisecondsDoNotCount", "00:00:05,000 --> 00:00:10,001", {10, 20}, true},
        WindowCase{"StartsAtTheEnd", "00:00:20,000 --> 00:00:25,000", {10, 20}, false},
        WindowCase{"StartsJustBeforeTheEnd", "00:00:19,999 --> 00:00:25,000", {10, 20}, true},
        WindowCase{"Zero", "00:00:00,000 --> 00:00:00,000", {0, 20}, false},
        WindowCase{"LessThanASecondFromZero", "00:00:00,100 --> 00:00:00,900", {0, 20}, false},
        WindowCase{"Hours", "01:00:12,000 --> 01:00:15,000", {3610, 3620}, true},
        WindowCase{"BlanksBeforeTheNumbers", " 0: 0: 12,0 -->  0: 0: 15,0", {10, 20}, true},
        WindowCase{"OnlyTheStartGiven", "00:00:30,000 --> 00:00:31,000", {10, -1}, true},
        WindowCase{"OnlyTheEndGiven", "00:00:30,000 --> 00:00:31,000", {-1, 20}, true},
        WindowCase{"ANegativeWindow", "00:00:30,000 --> 00:00:31,000", {-20, -10}, false},
        WindowCase{"AnEmptyWindow", "00:00:09,000 --> 00:00:11,000", {10, 10}, true},
        WindowCase{"AnEmptyWindowWhereTheCueStarts", "00:00:10,000 --> 00:00:11,000", {10, 10}, false},
        WindowCase{"AWindowFromBehind", "00:00:09,000 --> 00:00:31,000", {20, 10}, true},
        WindowCase{"TheLargestWindow", "00:00:30,000 --> 00:00:31,000", {INT32_MIN, INT32_MAX}, true},
        WindowCase{
            "MoreThanANumberHolds", "99999999999999999999:0:0 --> 99999999999999999999:0:0", {0, 9}, false},
        WindowCase{"LessThanANumberHolds", "-99999999999999999999:0:0 --> 0:0:1", {0, 9}, true}),
    [](const auto& tested) { return tested.param.name; });

TEST(CueWindow, DropsNumberTimesAndTextOfACueOutside) {
  EXPECT_EQ(CuesOf("1\n0:0:1 --> 0:0:2\na\n\n2\n0:0:11 --> 0:0:12\nb\n\n3\n0:0:31 --> 0:0:32\nc\n", {10, 20}),
            "0:0:11 --> 0:0:12\nb\n\n");
}

TEST(CueWindow, GoesOnBehindACueOutside) {
  EXPECT_EQ(CuesOf("0:0:11 --> 0:0:12\na\n\n2\n0:0:1 --> 0:0:2\nb\n\n3\n0:0:13 --> 0:0:14\nc\n", {10, 20}),
            "0:0:11 --> 0:0:12\na\n\n0:0:13 --> 0:0:14\nc\n");
}

TEST(CueWindow, WithoutACueGivesNoDocument) { EXPECT_EQ(CuesOf("0:0:1 --> 0:0:2\na\n", {10, 20}), "none"); }

struct EmptyCase {
  CueWindow window;
  std::string times;
};

TEST(EmptyWebvtt, HasTheWindowAsItsOnlyTimes) {
  const EmptyCase cases[] = {
      {{-1, -1}, "00:00:00.000 --> 00:00:00.000"},
      {{60, 75}, "00:01:00.000 --> 00:01:15.000"},
      {{90061, 90062}, "01:01:01.000 --> 01:01:02.000"},
      {{-500, 5}, "00:00:00.000 --> 00:00:05.000"},
      {{86399, 86400}, "23:59:59.000 --> 00:00:00.000"},
      {{INT32_MIN, INT32_MAX}, "00:00:00.000 --> 03:14:07.000"},
  };
  for (const EmptyCase& c : cases) EXPECT_EQ(MakeEmptyWebvtt(c.window), kHeader + c.times + "\n");
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
