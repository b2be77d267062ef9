// Real files of other projects' tests: is their charset found, their text right, is each of their cues there?
// They lie in the folder that KINORA_SAMPLES names, or in ../shared/samples beside the checkout; INDEX.tsv
// there says what their authors expect. What does not come out as expected is listed here, with the reason;
// nothing else may.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "library/to_utf8.h"
#include "tests/texts/chain.h"

namespace kinora::texts {
namespace {

namespace fs = std::filesystem;
using Reasons = std::map<std::string, std::string>;  // by the file's name

fs::path SamplesFolder() {
  const char* const folder = std::getenv("KINORA_SAMPLES");
  return folder != nullptr ? fs::path(folder) : fs::path(KINORA_SOURCE_DIR).parent_path() / "shared/samples";
}

struct Sample {
  std::string file;      // in the folder
  std::string expected;  // a charset; of SubRip files "srt", or "srt;" and a charset
  std::string language;  // may be empty
  long cues = 0;
  std::string Bytes() const { return ReadFile(SamplesFolder() / file); }
  std::string Name() const { return fs::path(file).filename(); }
};

std::vector<Sample> SamplesOfIndex() {
  std::ifstream index(SamplesFolder() / "INDEX.tsv");
  std::vector<Sample> samples;
  std::string line;
  for (std::getline(index, line); std::getline(index, line);) {
    std::istringstream fields(line);
    std::string group, file, cues;
    Sample sample;
    std::getline(fields, group, '\t');
    std::getline(fields, file, '\t');
    std::getline(fields, sample.expected, '\t');
    std::getline(fields, sample.language, '\t');
    std::getline(fields, cues, '\t');
    sample.file = group + "/" + file;
    sample.cues = std::atol(cues.c_str());
    samples.push_back(sample);
  }
  return samples;
}

bool IsSubRip(const Sample& sample) { return sample.expected.starts_with("srt"); }
bool IsCharset(const Sample& sample) { return sample.file.starts_with("cs_"); }

// The index has names of many authors.
std::string CharsetOf(const Sample& sample) {
  static const std::map<std::string, std::string> kNames = {
      {"big5", "CP950"},
      {"Big5", "CP950"},
      {"euc_jp", "EUC-JP"},
      {"euc_kr", "CP949"},
      {"iso2022cn", "ISO-2022-CN"},
      {"iso2022jp", "ISO-2022-JP"},
      {"shiftjis", "CP932"},
      {"koi8r", "KOI8-R"},
      {"utf8", "UTF-8"},
      {"utf16le", "UTF-16LE"},
      {"utf32le", "UTF-32LE"},
      {"utf32be", "UTF-32BE"},
      {"MacCyrillic", "MAC-CYRILLIC"},
      {"srt", "UTF-8"},
  };
  std::string name = sample.expected;
  if (name.starts_with("srt;")) name = name.substr(4);
  if (const auto known = kNames.find(name); known != kNames.end()) return known->second;
  if (name.starts_with("iso8859")) return "ISO-8859-" + name.substr(7);
  if (name.starts_with("windows")) return "CP" + name.substr(8);
  return name;
}

// The code page of a machine where people have such files.
std::string PageOf(const Sample& sample) {
  static const std::map<std::string, std::string> kPages = {
      {"zh", "cht"}, {"ja", "jpn"}, {"ko", "krn"}, {"cs", "csy"}, {"pl", "plk"}, {"ru", "rus"}, {"uk", "rus"},
      {"bg", "rus"}, {"tr", "trk"}, {"ar", "ara"}, {"de", "ger"}, {"es", "spn"}, {"fr", "fre"},
  };
  const auto page = kPages.find(sample.language);
  return page == kPages.end() ? "enu" : page->second;
}

std::string WithLineFeeds(std::string text) {
  if (text.starts_with("\xef\xbb\xbf")) text.erase(0, 3);
  for (size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) text.erase(at, 1);
  std::replace(text.begin(), text.end(), '\r', '\n');
  return text;
}

// What iconv(3) says that the file holds.
std::string RightText(const Sample& sample) {
  return WithLineFeeds(Recoded(sample.Bytes(), CharsetOf(sample), "UTF-8"));
}

long TimingLines(const std::string& text) {
  std::istringstream lines(text);
  long found = 0;
  for (std::string line; std::getline(lines, line);) found += line.find("-->") != std::string::npos ? 1 : 0;
  return found;
}

// The verdicts on all samples of a kind.
class Verdicts {
 public:
  void Right() { ++right_; }
  void Wrong(const std::string& name, const std::string& how) { wrong_[name] = how; }

  // Says the counts; what is wrong must be known, and what is known must be wrong.
  void Expect(const char* what, size_t of, const Reasons& known) const {
    std::printf("%s: %zu of %zu\n", what, right_, right_ + wrong_.size());
    EXPECT_EQ(right_ + wrong_.size(), of) << what << ": the index has changed";
    for (const auto& [name, how] : wrong_)
      EXPECT_TRUE(known.contains(name)) << what << ": " << name << ": " << how;
    for (const auto& [name, reason] : known)
      EXPECT_TRUE(wrong_.contains(name)) << what << ": " << name << " is right now";
  }

 private:
  size_t right_ = 0;
  std::map<std::string, std::string> wrong_;
};

class Samples : public testing::Test, protected Chain {
 protected:
  void SetUp() override {
    if (!fs::exists(SamplesFolder() / "INDEX.tsv"))
      GTEST_SKIP() << "no samples in " << SamplesFolder() << "; KINORA_SAMPLES may name their folder";
  }
};

const char* const kNoPage = "no code page has the charset, and Enca is given no language to know it by";
const char* const kTooShort = "a hundred bytes are too few for Enca; the code page is that of Windows";

const Reasons kNotFound = {
    {"enc__iso2022cn", kNoPage},
    {"enc__iso2022jp", kNoPage},
    {"enc__iso88596_ar", "the code page is that of Windows"},
    {"enc__iso88597_el", kNoPage},
    {"enc__iso88598", kNoPage},
    {"enc__iso88598_he", kNoPage},
    {"enc__windows_1253", kNoPage},
    {"enc__windows_1255", kNoPage},
    {"enc__windows_1257_lt", kNoPage},
    {"enc__windows_1257_lv", kNoPage},
    {"enc__windows_1258", kNoPage},
    {"gen__CP852__pl__train__city-morning.bin", kTooShort},
    {"gen__CP852__pl__train__library.bin", kTooShort},
    {"gen__CP852__pl__train__market.bin", kTooShort},
    {"gen__CP852__pl__train__workshop.bin", kTooShort},
};

const Reasons kNotConverted = {
    {"enc__iso2022cn", "a charset of mail, not among those that the converter takes"},
};

const Reasons kCuesLost = {
    {"example-in-non-utf8.srt", "one has a place (X1:40 ...) behind its times and counts as text"},
    {"missing-sequence-in.srt", "one has a place (X1:40 ...) behind its times and counts as text"},
    {"subrip__typical_missing_timecode.srt", "two have one time only"},
};

TEST_F(Samples, TextsAreRightWhereTheCharsetIsFound) {
  Verdicts verdicts;
  size_t count = 0;
  for (const Sample& sample : SamplesOfIndex()) {
    if (!IsCharset(sample)) continue;
    ++count;
    Speak(PageOf(sample));
    const std::string bytes = sample.Bytes();
    if (Converted(bytes, "auto") == RightText(sample)) {
      verdicts.Right();
    } else {
      verdicts.Wrong(sample.Name(),
                     "taken for " + crvnkn::webapi::AnalyzeEncoding(Put(bytes)) + " on " + PageOf(sample));
    }
  }
  verdicts.Expect("texts that are right by themselves", 68, kNotFound);
}

TEST_F(Samples, TextsAreRightInTheCharsetThatIsChosen) {
  Verdicts verdicts;
  for (const Sample& sample : SamplesOfIndex()) {
    if (!IsCharset(sample)) continue;
    if (Converted(sample.Bytes(), CharsetOf(sample)) == RightText(sample))
      verdicts.Right();
    else
      verdicts.Wrong(sample.Name(), "not what iconv says in " + CharsetOf(sample));
  }
  verdicts.Expect("texts that are right in a chosen charset", 68, kNotConverted);
}

TEST_F(Samples, SubRipKeepsItsTextAndItsCues) {
  Verdicts texts, cues;
  for (const Sample& sample : SamplesOfIndex()) {
    if (!IsSubRip(sample)) continue;
    Speak(PageOf(sample));
    const std::string bytes = sample.Bytes();
    if (Converted(bytes, "auto") == RightText(sample))
      texts.Right();
    else
      texts.Wrong(sample.Name(), "taken for " + crvnkn::webapi::AnalyzeEncoding(Put(bytes)));
    const long kept = TimingLines(Answer(bytes, {.output_webvtt = true}));
    if (kept == sample.cues)
      cues.Right();
    else
      cues.Wrong(sample.Name(), std::to_string(kept) + " of " + std::to_string(sample.cues) + " cues");
  }
  texts.Expect("SubRip texts that are right", 27, {});
  cues.Expect("SubRip files with all their cues", 27, kCuesLost);
}

}  // namespace
}  // namespace kinora::texts
