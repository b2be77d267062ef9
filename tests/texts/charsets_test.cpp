// One dialogue in many languages, written in the charsets that its countries have used: what is answered is
// the text as it was, found by itself where the machine's code page tells enough, and always by a charset
// chosen by hand.
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
  std::string name;
  std::string charset;  // as a viewer chooses it
  std::string languages;
  std::string pages;
  std::string mark = "";  // the byte-order mark, in UTF-8
};

void PrintTo(const Writing& writing, std::ostream* stream) { *stream << writing.name; }

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

// Texts of the alphabets and machines that the code page is made for.
const std::vector<Writing> kAtHome = {
    {"Western", "CP1252", kWestern, kWesternPages},
    {"Czech", "CP1250", "cs", "csy"},
    {"Polish", "CP1250", "pl", "plk"},
    {"Hungarian", "CP1250", "hu", "hun"},
    {"Russian", "CP1251", "ru", "rus"},
    {"Turkish", "CP1254", "tr", "trk"},
    {"Arabic", "CP1256", "ar", "ara"},
    {"TraditionalChinese", "CP950", "zh-hant", "cht chs"},
    {"SimplifiedChinese", "CP936", "zh-hans", "cht chs"},
    {"Japanese", "CP932", "ja", "jpn"},
    {"Korean", "CP949", "ko", "krn"},
};

// Texts that are the same everywhere.
const std::string kMark = "\xef\xbb\xbf";
const std::vector<Writing> kEverywhere = {
    {"UTF8", "UTF-8", kAllLanguages, kAllPages},
    {"UTF8WithAMark", "UTF-8", kAllLanguages, kAllPages, kMark},
    {"UTF16LittleEnd", "UTF-16LE", kAllLanguages, kAllPages, kMark},
    {"UTF16BigEnd", "UTF-16BE", kAllLanguages, kAllPages, kMark},
    {"UTF32LittleEnd", "UTF-32LE", kAllLanguages, kAllPages, kMark},
    {"UTF32BigEnd", "UTF-32BE", kAllLanguages, kAllPages, kMark},
};

// Texts that Enca knows by their language, in other charsets than the code page's.
const std::vector<Writing> kByTheLanguage = {
    {"CzechOfUnix", "ISO-8859-2", "cs", "csy"},       {"CzechOfDos", "CP852", "cs", "csy"},
    {"PolishOfUnix", "ISO-8859-2", "pl", "plk"},      {"PolishOfDos", "CP852", "pl", "plk"},
    {"HungarianOfUnix", "ISO-8859-2", "hu", "hun"},   {"HungarianOfDos", "CP852", "hu", "hun"},
    {"RussianOfUnix", "KOI8-R", "ru", "rus"},         {"RussianOfDos", "CP866", "ru", "rus"},
    {"RussianOfTheMac", "MAC-CYRILLIC", "ru", "rus"}, {"RussianOfISO", "ISO-8859-5", "ru", "rus"},
};

// Where nothing tells them: what Enca cannot decide is taken for the machine's own charset.
const std::vector<Writing> kOnlyByHand = {
    {"Greek", "CP1253", "el", ""},
    {"Hebrew", "CP1255", "he", ""},
    {"Ukrainian", "CP1251", "uk", ""},
    {"UkrainianOfUnix", "KOI8-U", "uk", ""},
    {"JapaneseOfUnix", "EUC-JP", "ja", ""},
    {"JapaneseOfMail", "ISO-2022-JP", "ja", ""},
    {"UTF16LittleEnd", "UTF-16LE", kFew, ""},
    {"UTF16BigEnd", "UTF-16BE", kFew, ""},
    {"UTF16LittleEndWithAMark", "UTF-16LE", kFew, "", kMark},
    {"UTF16BigEndWithAMark", "UTF-16BE", kFew, "", kMark},
    {"UTF32LittleEnd", "UTF-32LE", kFew, ""},
    {"UTF32BigEnd", "UTF-32BE", kFew, ""},
    {"UTF8", "UTF-8", kFew, ""},
};

using WrittenText = testing::WithParamInterface<Writing>;
constexpr auto kName = [](const testing::TestParamInfo<Writing>& tested) { return tested.param.name; };

// ---- by itself -------------------------------------------------------------------------------------------

class CharsetFound : public Chain, public WrittenText {
 protected:
  // The pages on which the text does not come out as it was, and what it was taken for there.
  std::string PagesThatFail(const std::string& bytes, const std::string& text) const {
    std::map<std::string, bool> right;  // by the charset that was found: each is converted once
    const std::string file = Put(bytes);
    std::string failing;
    for (const std::string& page : Words(GetParam().pages)) {
      Speak(page);
      const std::string found = AnalyzeEncoding(file);
      if (!right.contains(found)) right[found] = Converted(bytes, found) == text;
      if (!right[found]) failing += page + ":" + found + " ";
    }
    return failing;
  }
};

TEST_P(CharsetFound, GivesTheTextAsItWas) {
  const Writing& writing = GetParam();
  for (const std::string& language : Words(writing.languages)) {
    const std::string text = Dialogue(language, writing.charset);
    EXPECT_EQ(PagesThatFail(Encoded(writing.mark + text, writing.charset), text), "") << language;
  }
}

INSTANTIATE_TEST_SUITE_P(AtHome, CharsetFound, testing::ValuesIn(kAtHome), kName);
INSTANTIATE_TEST_SUITE_P(Everywhere, CharsetFound, testing::ValuesIn(kEverywhere), kName);
INSTANTIATE_TEST_SUITE_P(ByTheLanguage, CharsetFound, testing::ValuesIn(kByTheLanguage), kName);

// ---- by hand ---------------------------------------------------------------------------------------------

class CharsetChosen : public Chain, public WrittenText {};

TEST_P(CharsetChosen, GivesTheTextAsItWas) {
  const Writing& writing = GetParam();
  for (const std::string& language : Words(writing.languages)) {
    const std::string text = Dialogue(language, writing.charset);
    EXPECT_EQ(Converted(Encoded(writing.mark + text, writing.charset), writing.charset), text) << language;
  }
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
  const Writing& writing = GetParam();
  for (const std::string& language : Words(writing.languages)) {
    const std::string text = Dialogue(language, writing.charset);
    const std::string damaged = Damaged(text, writing.charset);
    ASSERT_GT(damaged.size(), Encoded(text, writing.charset).size());
    EXPECT_EQ(Frame(Converted(damaged, writing.charset)), Frame(text)) << language;
  }
}

INSTANTIATE_TEST_SUITE_P(AtHome, CharsetChosen, testing::ValuesIn(kAtHome), kName);
INSTANTIATE_TEST_SUITE_P(ByTheLanguage, CharsetChosen, testing::ValuesIn(kByTheLanguage), kName);
INSTANTIATE_TEST_SUITE_P(OnlyByHand, CharsetChosen, testing::ValuesIn(kOnlyByHand), kName);

}  // namespace
}  // namespace kinora::texts
