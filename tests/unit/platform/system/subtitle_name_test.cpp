#include "platform/system/subtitle_name.h"

#include <gtest/gtest.h>

#include <string>

namespace kinora::system {
namespace {

struct Case {
  const char* name;
  const char* extension;
  const char* language;
  bool forced;
  bool hearing_impaired;
};

constexpr Case kCases[] = {
    {"Movie.srt", "srt", "", false, false},
    {"Movie.en.srt", "srt", "en", false, false},
    {"Movie.EN.SRT", "SRT", "en", false, false},
    {"Movie.eng.srt", "srt", "en", false, false},
    {"Movie.ger.srt", "srt", "de", false, false},
    {"Movie.deu.srt", "srt", "de", false, false},
    {"Movie.English.srt", "srt", "en", false, false},
    {"Movie.english.srt", "srt", "en", false, false},
    {"Movie.zh-TW.forced.ass", "ass", "zh-TW", true, false},
    {"Movie.zh-tw.ass", "ass", "zh-TW", false, false},
    {"Movie.zh_TW.ass", "ass", "zh-TW", false, false},
    {"Movie.pt-BR.srt", "srt", "pt-BR", false, false},
    {"Movie.por-br.srt", "srt", "pt-BR", false, false},
    {"Movie.es-419.srt", "srt", "es-419", false, false},
    {"Movie.zh-hant.srt", "srt", "zh-Hant", false, false},
    {"Movie.zh-Hant-TW.srt", "srt", "zh-Hant-TW", false, false},
    {"Movie.chs.srt", "srt", "zh-Hans", false, false},
    {"Movie.cht.srt", "srt", "zh-Hant", false, false},
    {"Movie.pob.srt", "srt", "pt-BR", false, false},
    {"Movie.forced.en.srt", "srt", "en", true, false},
    {"Movie.en.sdh.srt", "srt", "en", false, true},
    {"Movie.en.SDH.forced.srt", "srt", "en", true, true},
    {"Movie.cc.en.srt", "srt", "en", false, true},
    {"Movie.forced.srt", "srt", "", true, false},
    {"Movie.hi.srt", "srt", "hi", false, false},
    {"Movie.en.hi.srt", "srt", "en", false, true},
    {"Movie.hi.en.srt", "srt", "en", false, true},
    {"Movie.hi.sdh.srt", "srt", "hi", false, true},
    {"Movie_en.srt", "srt", "en", false, false},
    {"Movie_pt_BR.srt", "srt", "pt-BR", false, false},
    {"Movie-pt-BR.srt", "srt", "pt-BR", false, false},
    {"Movie-de.srt", "srt", "de", false, false},
    {"Movie - de.srt", "srt", "de", false, false},
    {"Movie (English).srt", "srt", "en", false, false},
    {"Movie - English (SDH).srt", "srt", "en", false, true},
    {"Movie [fr] [forced].srt", "srt", "fr", true, false},
    {"Movie.2010.1080p.fr.srt", "srt", "fr", false, false},
    // A second language is part of the title.
    {"Movie.Polish.en.srt", "srt", "en", false, false},
    // Words of titles and of kinds of recordings.
    {"The.Way.It.Is.srt", "srt", "", false, false},
    {"Catch me if you can do it.srt", "srt", "", false, false},
    {"Movie.Part.II.srt", "srt", "", false, false},
    {"Movie.TS.srt", "srt", "", false, false},
    {"Movie.x264-GRP.srt", "srt", "", false, false},
    {"Movie.the.srt", "srt", "", false, false},
    // The first word is the video's.
    {"Polish.srt", "srt", "", false, false},
    {"it.srt", "srt", "", false, false},
    {"_en.srt", "srt", "", false, false},
    {"..en.srt", "srt", "", false, false},
    {"forced.srt", "srt", "", false, false},
    {"it.it.srt", "srt", "it", false, false},
    // Folders tell nothing.
    {"/films.en/Movie.fr.srt", "srt", "fr", false, false},
    {"/films.en/Movie", "", "", false, false},
    {"/films/en.fr/", "", "", false, false},
    {"Movie.", "", "", false, false},
    {".srt", "srt", "", false, false},
    {"", "", "", false, false},
    {"...", "", "", false, false},
    {" - .srt", "srt", "", false, false},
    {"Movie.en-.srt", "srt", "en", false, false},
    {"Movie.en\n.srt", "srt", "", false, false},
    {"Movie.\xFF\xFE.en.srt", "srt", "en", false, false},
    {"\xD0\xA4\xD0\xB8\xD0\xBB\xD1\x8C\xD0\xBC.ru.srt", "srt", "ru", false, false},
    {"Movie.e\xCC\x81n.srt", "srt", "", false, false},
};

TEST(SubtitleName, TellsLanguageAndKind) {
  for (const Case& expected : kCases) {
    SCOPED_TRACE(expected.name);
    const SubtitleName name = ReadSubtitleName(expected.name);
    EXPECT_EQ(name.extension, expected.extension);
    EXPECT_EQ(name.language, expected.language);
    EXPECT_EQ(name.forced, expected.forced);
    EXPECT_EQ(name.hearing_impaired, expected.hearing_impaired);
  }
}

TEST(SubtitleName, IsReadWhateverItsLength) {
  EXPECT_EQ(ReadSubtitleName(std::string(245, 'm') + ".en.srt").language, "en");
  const SubtitleName all =
      ReadSubtitleName("m" + std::string(100'000, '.') + "en" + std::string(100'000, '-') + ".srt");
  EXPECT_EQ(all.language, "en");
  std::string marks = "Movie";
  for (int i = 0; i < 20'000; ++i) marks += ".forced";
  EXPECT_TRUE(ReadSubtitleName(marks + ".srt").forced);
}

TEST(SubtitleName, MayHaveTheExtensionOfASubtitle) {
  for (const char* name : {"a.srt", "a.ASS", "a.ssa", "a.smi", "a.sami", "a.sub", "a.vtt", ".srt"})
    EXPECT_TRUE(HasSubtitleExtension(name)) << name;
  for (const char* name : {"", "srt", "a.", "a.srt.bak", "a.idx", "a.sup", "a.txt", "a.mkv", "a.srt "})
    EXPECT_FALSE(HasSubtitleExtension(name)) << name;
}

}  // namespace
}  // namespace kinora::system
