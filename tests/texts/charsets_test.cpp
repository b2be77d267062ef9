// One dialogue in many languages, written in the charsets that its countries have used: what is answered is
// the text as it was, found by itself where the machine's code page tells enough, and always by a charset
// chosen by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <vector>

#include "library/to_utf8.h"
#include "tests/texts/chain.h"

namespace kinora::texts {
namespace {

using crvnkn::webapi::AnalyzeEncoding;

std::vector<std::string> Words(const std::string& line) {
  std::istringstream words(line);
  return {std::istream_iterator<std::string>(words), {}};
}

const std::string kWestern = "en fr de it es pt da nb sv nl";
const std::string kAllLanguages = kWestern + " cs pl hu ru uk tr ar el he zh-hant zh-hans ja ko";
const std::string kFew = "fr ru zh-hant ja";
const std::string kWesternPages = "enu fre ger ita spn ptb dan nor sve nld ptg";
const std::string kAllPages = kWesternPages + " utf8 cht chs jpn krn rus plk hun trk csy ara";

// How texts are written, and on which machines that is found without being told.
struct Writing {
  std::string charset;  // as a viewer chooses it
  std::string languages;
  std::string pages;
  std::string mark = "";  // the byte-order mark, in UTF-8
};

struct Writings {
  std::string name;
  std::vector<Writing> all;
};

void PrintTo(const Writings& writings, std::ostream* stream) { *stream << writings.name; }

// The dialogue, without the quotation marks and dashes that older charsets do not have.
std::string Dialogue(const std::string& language, const std::string& charset) {
  std::string text =
      ReadFile(std::filesystem::path(KINORA_SOURCE_DIR) / "tests/texts/dialogue" / (language + ".srt"));
  if (charset.starts_with("CP12") || charset.starts_with("UTF")) return text;
  static const std::map<std::string, std::string> kPlain = {{"„", "\""}, {"“", "\""}, {"”", "\""},
                                                            {"«", "\""}, {"»", "\""}, {"–", "-"}};
  for (const auto& [typographic, plain] : kPlain) {
    for (size_t at = 0; (at = text.find(typographic, at)) != std::string::npos;)
      text.replace(at, typographic.size(), plain);
  }
  return text;
}

// Texts of the alphabets that the code page is made for.
const Writings kWesternAtHome = {"WesternAtHome", {{"CP1252", kWestern, kWesternPages}}};
const Writings kOthersAtHome = {"OthersAtHome",
                                {{"CP1250", "cs", "csy"},
                                 {"CP1250", "pl", "plk"},
                                 {"CP1250", "hu", "hun"},
                                 {"CP1251", "ru uk", "rus"},
                                 {"CP1254", "tr", "trk"},
                                 {"CP1256", "ar", "ara"},
                                 {"CP950", "zh-hant", "cht chs"},
                                 {"CP936", "zh-hans", "cht chs"},
                                 {"CP932", "ja", "jpn"},
                                 {"CP949", "ko", "krn"}}};

// Texts that are the same everywhere.
const std::string kMark = "\xef\xbb\xbf";
const Writings kUtf8 = {"Utf8", {{"UTF-8", kAllLanguages, kAllPages}}};
const Writings kMarked = {"Marked",
                          {{"UTF-8", kFew, kAllPages, kMark},
                           {"UTF-16LE", kFew, kAllPages, kMark},
                           {"UTF-16BE", kFew, kAllPages, kMark},
                           {"UTF-32LE", kFew, kAllPages, kMark},
                           {"UTF-32BE", kFew, kAllPages, kMark}}};

// Texts that Enca or the converter know by their letters, in other charsets than the code page's.
const Writings kByTheLetters = {"ByTheLetters",
                                {{"ISO-8859-2", "cs", "csy"},
                                 {"CP852", "cs", "csy"},
                                 {"ISO-8859-2", "pl", "plk"},
                                 {"CP852", "pl", "plk"},
                                 {"ISO-8859-2", "hu", "hun"},
                                 {"CP852", "hu", "hun"},
                                 {"KOI8-R", "ru", "rus"},
                                 {"KOI8-U", "uk", "rus"},
                                 {"CP866", "ru", "rus"},
                                 {"MAC-CYRILLIC", "ru", "rus"},
                                 {"ISO-8859-5", "ru", "rus"},
                                 {"EUC-JP", "ja", "jpn"}}};

// Where nothing tells them: what Enca cannot decide is taken for the machine's own charset.
const Writings kOnlyByHand = {"OnlyByHand",
                              {{"CP1253", "el", ""},
                               {"CP1255", "he", ""},
                               {"ISO-2022-JP", "ja", ""},
                               {"UTF-8", kFew, ""},
                               {"UTF-16LE", kFew, ""},
                               {"UTF-16BE", kFew, ""},
                               {"UTF-32LE", kFew, ""},
                               {"UTF-32BE", kFew, ""}}};

class WrittenText : public testing::TestWithParam<Writings>, protected Chain {
 protected:
  // Calls `look` with each writing, each of its languages, and the text in that.
  template <typename Look>
  void EachText(const Look& look) {
    for (const Writing& writing : GetParam().all) {
      for (const std::string& language : Words(writing.languages)) {
        SCOPED_TRACE(language + " in " + writing.charset);
        const std::string text = Dialogue(language, writing.charset);
        ASSERT_GT(text.size(), 400U);
        look(writing, text);
      }
    }
  }
};

constexpr auto kName = [](const testing::TestParamInfo<Writings>& tested) { return tested.param.name; };

// ---- by itself -------------------------------------------------------------------------------------------

class CharsetFound : public WrittenText {
 protected:
  // The pages on which the text does not come out as it was, and what it was taken for there.
  std::string PagesThatFail(const std::string& pages, const std::string& bytes, const std::string& text) {
    std::map<std::string, bool> right;  // by the charset that was found: each is converted once
    const std::string file = Put(bytes);
    std::string failing;
    for (const std::string& page : Words(pages)) {
      Speak(page);
      const std::string found = AnalyzeEncoding(file);
      if (!right.contains(found)) right[found] = Converted(bytes, found) == text;
      if (!right[found]) failing += page + ":" + found + " ";
    }
    return failing;
  }
};

TEST_P(CharsetFound, GivesTheTextAsItWas) {
  EachText([this](const Writing& writing, const std::string& text) {
    EXPECT_EQ(PagesThatFail(writing.pages, Encoded(writing.mark + text, writing.charset), text), "");
  });
}

INSTANTIATE_TEST_SUITE_P(Texts, CharsetFound,
                         testing::Values(kWesternAtHome, kOthersAtHome, kUtf8, kMarked, kByTheLetters),
                         kName);

// ---- by hand ---------------------------------------------------------------------------------------------

using CharsetChosen = WrittenText;

TEST_P(CharsetChosen, GivesTheTextAsItWas) {
  Speak("enu");
  EachText([this](const Writing& writing, const std::string& text) {
    EXPECT_EQ(Converted(Encoded(writing.mark + text, writing.charset), writing.charset), text);
  });
}

// What no charset has, or the first half of a letter, at the end of each line of text.
std::string Damaged(const std::string& text, const std::string& charset) {
  std::string bad = "\x81";
  if (charset == "UTF-16LE") bad = {'\0', '\xd8'};
  if (charset == "UTF-16BE") bad = {'\xd8', '\0'};
  if (charset == "UTF-32LE") bad = {'\0', '\0', '\x11', '\0'};
  if (charset == "UTF-32BE") bad = {'\0', '\x11', '\0', '\0'};
  std::istringstream lines(text);
  std::string damaged;
  for (std::string line; std::getline(lines, line);) {
    const bool is_frame = line.find_first_not_of("0123456789,:-> ") == std::string::npos;
    damaged += Encoded(line, charset) + (is_frame ? "" : bad) + Encoded("\n", charset);
  }
  return damaged;
}

// Numbers, times and blank lines.
std::string Frame(const std::string& text) {
  std::istringstream lines(text);
  std::string frame;
  for (std::string line; std::getline(lines, line);) {
    if (line.find_first_not_of("0123456789,:-> ") == std::string::npos) frame += line + "\n";
  }
  return frame;
}

TEST_P(CharsetChosen, LosesNoCueForBadBytes) {
  EachText([this](const Writing& writing, const std::string& text) {
    const std::string damaged = Damaged(text, writing.charset);
    ASSERT_GT(damaged.size(), Encoded(text, writing.charset).size());
    EXPECT_EQ(Frame(Converted(damaged, writing.charset)), Frame(text));
  });
}

INSTANTIATE_TEST_SUITE_P(Texts, CharsetChosen,
                         testing::Values(kWesternAtHome, kOthersAtHome, kMarked, kByTheLetters, kOnlyByHand),
                         kName);

// For Enca one bad byte makes UTF-8 none, and one control makes a text garbage: the machine's charset is
// taken. The cues are there all the same, and the charset chosen by hand puts the letters right.
TEST(DamagedUtf8, IsTakenForTheMachinesCharset) {
  Chain chain;
  Chain::Speak("enu");
  const std::string text = Dialogue("fr", "UTF-8");
  for (const char bad : {'\xff', '\x1a'}) {
    std::string damaged = text;
    damaged.insert(damaged.find("Bonjour"), 1, bad);
    EXPECT_EQ(AnalyzeEncoding(chain.Put(damaged)), "CP1252");
    EXPECT_EQ(Frame(chain.Answer(damaged, {})), Frame(text));
    EXPECT_EQ(chain.Answer(damaged, {.codepage = "UTF-8"}), text);
  }
}

}  // namespace
}  // namespace kinora::texts
