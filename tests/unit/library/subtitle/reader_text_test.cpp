#include "library/subtitle/reader_text.h"

#include <gtest/gtest.h>

namespace crvnkn::webapi::subtitle {
namespace {

struct Case {
  const char* before;
  const char* after;
};

TEST(ReaderText, HasNoStylesInWebvtt) {
  const Case cases[] = {
      {"WEBVTT\n\nSTYLE\n::cue { color: red }\n\nREGION\nid:a\n\n1\n00:01.000 --> 00:02.000\nHello\n",
       "WEBVTT\n\n\n\n1\n00:01.000 --> 00:02.000\nHello\n"},
      {"WEBVTT\n\nSTYLE  \n00:01.000 --> 00:02.000\nHello\n", "WEBVTT\n\n00:01.000 --> 00:02.000\nHello\n"},
      {"WEBVTT\n\n00:01.000 --> 00:02.000\nSTYLE\nREGION\n",
       "WEBVTT\n\n00:01.000 --> 00:02.000\nSTYLE\nREGION\n"},
      {"WEBVTT\nSTYLE\n\nNOTE STYLE\n\n", "WEBVTT\nSTYLE\n\nNOTE STYLE\n\n"},
      {"WEBVTT\n\nSTYLE", "WEBVTT\n\n"},
  };
  for (const auto& [before, after] : cases) EXPECT_EQ(ForReader(before), after) << before;
}

TEST(ReaderText, HasTheUsualColumnsInAss) {
  const Case cases[] = {
      {"[Events]\nFormat: Start, End, Text\nDialogue: 0:00:01.00,0:00:02.00,Hello, you\n",
       "[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n"
       "Dialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,Hello, you\n"},
      {"[Events]\nformat: layer,end,start,style,text\ndialogue: 3,0:00:02.00,0:00:01.00,Big,{\\b1}Hello\n",
       "[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n"
       "Dialogue: 3,0:00:01.00,0:00:02.00,Big,,0,0,0,,{\\b1}Hello\n"},
      {"[Events]\nFormat: Start, End, Text\nDialogue: \nComment: x\n",
       "[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n"
       "Dialogue: 0, ,,Default,,0,0,0,,\nComment: x\n"},
      // Already so, whatever the columns are called that do not count.
      {"[Script Info]\n\n[Events]\nFormat: Marked, Start, End, Style, Actor, L, R, V, Effect, "
       "Text\nDialogue: x,y\n",
       "[Script Info]\n\n[Events]\nFormat: Marked, Start, End, Style, Actor, L, R, V, Effect, "
       "Text\nDialogue: x,y\n"},
      {"[Events]\nDialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,Hello\n",
       "[Events]\nDialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,Hello\n"},
      {"[V4+ Styles]\nFormat: Name\n[Events]\n[Fonts]\nFormat: Start\nDialogue: x\n",
       "[V4+ Styles]\nFormat: Name\n[Events]\n[Fonts]\nFormat: Start\nDialogue: x\n"},
  };
  for (const auto& [before, after] : cases) EXPECT_EQ(ForReader(before), after) << before;
}

TEST(ReaderText, StaysAsItIsInOtherFormats) {
  for (const char* text : {"", "\n", "x", "1\n00:00:01,000 --> 00:00:02,000\nSTYLE\n\nSTYLE\nx",
                           "<SAMI>\nSTYLE\n\nSTYLE\n", "{1}{2}a", "STYLE\n\nSTYLE\nx"})
    EXPECT_EQ(ForReader(text), text);
}

TEST(ReaderText, IsCountedInCues) {
  const std::pair<const char*, size_t> cases[] = {
      {"WEBVTT\n", 0},
      {"WEBVTT\n\n00:01.000 --> 00:02.000\na\n\n00:03.000 --> 00:04.000\nb", 2},
      {"1\n00:00:01,000 --> 00:00:02,000\na\n\n2\n00:00:03,000 --> 00:00:04,000\nb\n", 2},
      {"[Script Info]\n[Events]\nDialogue: a\nComment: b\ndialogue: c\n", 2},
      {"<SAMI><BODY><SYNC Start=1><P>a<br>b<SYNC Start=2><P>&nbsp;<sync start=3><p>c</BODY></SAMI>", 2},
      {"<SAMI>\n<BODY>\n<SYNC Start=1><P>a\n<SYNC Start=2><P> \n<SYNC Start=3><P>b\n", 2},
      {"<SAMI>", 0},
      {"{1}{1}25\n{25}{75}a\n{80}{90}\nx{1}{2}\n{a}{b}c\n{1}d\n", 2},
  };
  for (const auto& [text, count] : cases) EXPECT_EQ(CountCues(text), count) << text;
  for (const char* text : {"", "some text\n", "[10][20]a\n", "{1}"})
    EXPECT_EQ(CountCues(text), std::nullopt) << text;
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
