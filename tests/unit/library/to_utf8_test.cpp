#include "library/to_utf8.h"

#include <enca.h>
#include <sys/stat.h>
#include <syslog.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tests/fakes/scripted_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi {
namespace {

using kinora::fakes::LogLines;
using kinora::fakes::TheScript;

// ---- the table
// ---------------------------------------------------------------------------------------------

struct CodePageCase {
  const char* name;
  const char* charset;
  const char* language;
};

constexpr CodePageCase kCodePages[] = {
    {"utf8", "UTF-8", ""},   {"enu", "CP1252", ""}, {"fre", "CP1252", ""},   {"ger", "CP1252", ""},
    {"ita", "CP1252", ""},   {"spn", "CP1252", ""}, {"cht", "CP950", "zh"},  {"chs", "CP936", "zh"},
    {"jpn", "CP932", ""},    {"krn", "CP949", ""},  {"ptb", "CP1252", ""},   {"rus", "CP1251", "ru"},
    {"dan", "CP1252", ""},   {"nor", "CP1252", ""}, {"sve", "CP1252", ""},   {"nld", "CP1252", ""},
    {"plk", "CP1250", "pl"}, {"ptg", "CP1252", ""}, {"hun", "CP1250", "hu"}, {"trk", "CP1254", ""},
    {"csy", "CP1250", "cs"}, {"ara", "CP1256", ""},
};

TEST(GetCodepageName, KnowsTheCodePages) {
  for (const CodePageCase& page : kCodePages) {
    EXPECT_EQ(GetCodepageName(page.name, CODEPAGE_CHARSET), page.charset) << page.name;
    EXPECT_EQ(GetCodepageName(page.name, CODEPAGE_ENCA_LANGUAGE), page.language) << page.name;
    EXPECT_EQ(GetCodepageName(page.name, static_cast<CodePageType>(7)), page.charset) << page.name;
  }
}

TEST(GetCodepageName, ComparesExactly) {
  for (const char* const name : {"", "ENU", "Enu", "enu ", "en", "enus", "default"}) {
    EXPECT_EQ(GetCodepageName(name, CODEPAGE_CHARSET), "") << name;
    EXPECT_EQ(GetCodepageName(name, CODEPAGE_ENCA_LANGUAGE), "") << name;
  }
}

// ---- detection
// ---------------------------------------------------------------------------------------------

class CharsetTest : public kinora::fakes::ScriptedTest {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "charset-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Write(const std::string& bytes) const {
    std::ofstream(File("text"), std::ios::binary) << bytes;
    return File("text");
  }
  std::string File(const std::string& name) const { return folder_ / name; }

  static void Speak(const std::string& codepage) { TheScript().settings["codepage"] = codepage; }

  std::filesystem::path folder_;
};

const std::string kBig5 = "\xa5\x4c\xa6\x62\xad\xfe\xb8\xcc\xa1\x48\xa7\xda\xa4\xa3\xaa\xbe\xb9\x44\xa1\x43";
const std::string kRussian =
    "\xc3\xe4\xe5 \xee\xed, \xf2\xee\xe2\xe0\xf0\xe8\xf9? \xdf \xed\xe5 \xe7\xed\xe0\xfe, \xe3\xe4\xe5 "
    "\xee\xed.\n";
const std::string kLatin1 = "O\xf9 est-il, se\xf1or M\xfcller?\n";

TEST_F(CharsetTest, LanguageIsThatOfTheSettingsFile) {
  Speak("cht");
  EXPECT_EQ(GetCrvnLanguage(), "cht");
  ExpectCalls({R"(HLIBCFileGetKeyValue("/etc/crvninfo.conf", "codepage", 8, 0))"});
}

TEST_F(CharsetTest, LanguageHasSevenCharactersAtMost) {
  Speak("abcdefghij");
  EXPECT_EQ(GetCrvnLanguage(), "abcdefg");
}

TEST_F(CharsetTest, LanguageIsEmptyWithoutTheSetting) { EXPECT_EQ(GetCrvnLanguage(), ""); }

TEST_F(CharsetTest, IsUnknownForAFileThatCannotBeRead) {
  Speak("enu");
  ASSERT_EQ(::mkfifo(File("fifo").c_str(), 0600), 0);
  for (const char* const name : {"missing", "fifo", "."}) EXPECT_EQ(AnalyzeEncoding(File(name)), "") << name;
  EXPECT_EQ(AnalyzeEncoding(Write("")), "");
  EXPECT_EQ(AnalyzeEncoding(""), "");
  EXPECT_TRUE(LogLines().empty());
}

struct DetectionCase {
  std::string name;
  std::string codepage;
  std::string bytes;
  std::string charset;
};

class CharsetOf : public CharsetTest, public testing::WithParamInterface<DetectionCase> {};

TEST_P(CharsetOf, AFile) {
  if (!GetParam().codepage.empty()) Speak(GetParam().codepage);
  EXPECT_EQ(AnalyzeEncoding(Write(GetParam().bytes)), GetParam().charset);
}

std::string Ascii16(bool big) {
  std::string text;
  for (const char c : std::string("A plain text\n"))
    text += big ? std::string{'\0', c} : std::string{c, '\0'};
  return text;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, CharsetOf,
    testing::Values(
        DetectionCase{"EightBitsInNoParticularLanguage", "enu", kLatin1, "CP1252"},
        DetectionCase{"EightBitsWithoutACodePage", "", kLatin1, ""},
        DetectionCase{"EightBitsWithAnUnknownCodePage", "xyz", kLatin1, ""},
        DetectionCase{"EightBitsWhereUtf8IsTheRule", "utf8", kLatin1, "UTF-8"},
        DetectionCase{"RussianByItsLanguage", "rus", kRussian + kRussian, "CP1251"},
        DetectionCase{"ChineseByItsLanguage", "cht", kBig5 + "\n" + kBig5, "BIG5"},
        DetectionCase{"UndecidableChinese", "cht", "\xff\xfe\xfd", "CP950"},
        DetectionCase{"Utf8Anywhere", "enu", "Žluťoučký kůň — žluťoučký kůň\n", "UTF-8"},
        DetectionCase{"AZeroByteMakesItGarbage", "rus", kRussian + std::string(1, '\0') + kRussian, "CP1251"},
        DetectionCase{"WideWithAMarkOfTheLittleEnd", "enu", "\xff\xfe" + Ascii16(false), "UCS-2LE"},
        DetectionCase{"WideWithAMarkOfTheBigEnd", "enu", "\xfe\xff" + Ascii16(true), "UCS-2BE"}),
    [](const auto& tested) { return tested.param.name; });

// What Enca says decides, even against the code page.
TEST_F(CharsetTest, IsEncasWhereEncaHasOne) {
  Speak("jpn");
  EXPECT_EQ(AnalyzeEncoding(Write("Žluťoučký kůň — žluťoučký kůň\n")), "UTF-8");
}

TEST_F(CharsetTest, IsJudgedByTheFirst100KiB) {
  Speak("enu");
  const std::string plain(102'400, 'a');
  EXPECT_EQ(AnalyzeEncoding(Write(plain + kLatin1)), AnalyzeEncoding(Write(plain)));
  EXPECT_NE(AnalyzeEncoding(Write(plain.substr(1) + "\xe9")), AnalyzeEncoding(Write(plain)));
}

TEST(AnalyzeEncodingByEnca, KnowsNoSuchLanguage) {
  const unsigned char text[] = "text";
  EXPECT_EQ(AnalyzeEncodingByEnca("nosuch", text, 4), "");
}

// Enca knows charsets that iconv does not: they are as good as unknown.
TEST(AnalyzeEncodingByEnca, NamesOnlyWhatIconvKnows) {
  std::string kamenicky;  // Czech text in KEYBCS2
  for (int i = 0; i < 40; ++i)
    kamenicky +=
        "P\xa9\xa1li\xa8 \x91lu\x9fou\x87k\x98 k\x96\xa4 \xa3p\x88l \x94\xa0"
        "belsk\x82 \xa2"
        "dy\n";
  const auto* const bytes = reinterpret_cast<const unsigned char*>(kamenicky.data());
  EncaAnalyser analyser = enca_analyser_alloc("cs");
  const EncaEncoding found = enca_analyse_const(analyser, bytes, kamenicky.size());
  enca_analyser_free(analyser);
  ASSERT_NE(found.charset, ENCA_CS_UNKNOWN);
  ASSERT_EQ(enca_charset_name(found.charset, ENCA_NAME_STYLE_ICONV), nullptr);
  EXPECT_EQ(AnalyzeEncodingByEnca("cs", bytes, static_cast<unsigned int>(kamenicky.size())), "");
}

// ---- conversion
// --------------------------------------------------------------------------------------------

std::string ConverterCall(const std::string& source, const std::string& output, const std::string& from) {
  return R"(run("/usr/bin/php", "-f", "/var/packages/Kinora/target/scripts/phpiconv", "--", "--from", ")" +
         from + R"(", "--to", "UTF-8", "--output", ")" + output + R"(", ")" + source + R"(", true, false))";
}
const std::string kRunner = R"(ProcessRunner("/usr/bin/php", "/usr/bin/php"))";

TEST_F(CharsetTest, IsHandedToTheConverterAsGiven) {
  EXPECT_TRUE(ToUTF8("/v/a.srt", "CP1251", "/tmp/out.srt"));
  ExpectCalls({kRunner, ConverterCall("/v/a.srt", "/tmp/out.srt", "CP1251")});
  ExpectLog({});
}

TEST_F(CharsetTest, IsDetectedWhenItIsAuto) {
  Speak("enu");
  const std::string source = Write(kLatin1);
  EXPECT_TRUE(ToUTF8(source, "auto", "/tmp/out.srt"));
  ExpectCalls({R"(HLIBCFileGetKeyValue("/etc/crvninfo.conf", "codepage", 8, 0))", kRunner,
               ConverterCall(source, "/tmp/out.srt", "CP1252")});
}

TEST_F(CharsetTest, ThatCannotBeDetectedRunsNoConverter) {
  const std::string source = Write("");
  EXPECT_FALSE(ToUTF8(source, "auto", "/tmp/out.srt"));
  ExpectCalls({R"(HLIBCFileGetKeyValue("/etc/crvninfo.conf", "codepage", 8, 0))"});
  ExpectLog({"to_utf8:# AnalyzeEncoding failed, " + source});
  EXPECT_EQ(LogLines()[0].priority, LOG_ERR);
}

TEST_F(CharsetTest, ThatIsEmptyRunsNoConverter) {
  EXPECT_FALSE(ToUTF8("/v/a.srt", "", "/tmp/out.srt"));
  ExpectCalls({});
  ExpectLog({"to_utf8:# AnalyzeEncoding failed, /v/a.srt"});
}

TEST_F(CharsetTest, WithoutAnOutputRunsNoConverter) {
  EXPECT_FALSE(EncodeToUTF8("/v/a.srt", "", "CP1252"));
  EXPECT_FALSE(EncodeToUTF8("", "/tmp/out.srt", "CP1252"));
  EXPECT_FALSE(EncodeToUTF8("/v/a.srt", "/tmp/out.srt", ""));
  ExpectCalls({});
  ExpectLog({});
  EXPECT_FALSE(ToUTF8("/v/a.srt", "CP1252", ""));
  ExpectLog({"to_utf8:# EncodeToUTF8 failed, /v/a.srt, CP1252"});
}

TEST_F(CharsetTest, IsConvertedWhateverTheConverterSays) {
  TheScript().run = [](const std::vector<std::string>&) { return 2; };
  EXPECT_TRUE(ToUTF8("/v/a.srt", "CP1252", "/tmp/out.srt"));
  ExpectLog({});
}

TEST_F(CharsetTest, IsNotConvertedWhenTheConverterDoesNotRun) {
  TheScript().run = [](const std::vector<std::string>&) { return -1; };
  EXPECT_FALSE(ToUTF8("/v/a.srt", "CP1252", "/tmp/out.srt"));
  ExpectLog({"to_utf8:# failed to run", "to_utf8:# EncodeToUTF8 failed, /v/a.srt, CP1252"});
}

}  // namespace
}  // namespace crvnkn::webapi
