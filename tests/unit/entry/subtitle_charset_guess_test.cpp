#include "entry/subtitle_charset_guess.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <type_traits>

using namespace kinora::entry;
namespace fs = std::filesystem;

namespace {

constexpr char kRussian[] = "Добрый вечер, дорогие друзья. Этот фильм сделала машина, и в нём нет правды.\n";
constexpr char kCzech[] =
    "Dobrý večer, milí přátelé. Tenhle film natočil stroj a není v něm nic pravdivého.\n";
constexpr char kTraditional[] = "晚安，各位朋友。這部影片是由機器製作的，裡面沒有真實的東西。\n";
constexpr char kSimplified[] = "晚上好，各位朋友。这部影片是由机器制作的，里面没有真实的东西。\n";
constexpr char kJapanese[] = "こんばんは、皆さん。この映画は機械が作りました。本物は何もありません。\n";
constexpr char kGerman[] = "Schöne Grüße aus Köln und guten Abend.\n";

std::string Encoded(const std::string& text, const char* charset) {
  const std::unique_ptr<std::remove_pointer_t<iconv_t>, int (*)(iconv_t)> converter(
      iconv_open(charset, "UTF-8"), iconv_close);
  std::string source = text;
  std::string result(4 * text.size() + 8, '\0');
  char* from = source.data();
  char* to = result.data();
  size_t left = source.size();
  size_t room = result.size();
  EXPECT_EQ(iconv(converter.get(), &from, &left, &to, &room), 0U) << charset;
  result.resize(result.size() - room);
  return result;
}

struct Guess {
  const char* name;
  const char* text;
  const char* charset;  // that the text is in
  const char* expected;
};

class SubtitleCharsetGuess : public testing::TestWithParam<Guess> {
 protected:
  SubtitleCharsetGuess() {
    std::string name = testing::TempDir() + "guess-XXXXXX";
    folder_ = mkdtemp(name.data());
  }
  ~SubtitleCharsetGuess() override { fs::remove_all(folder_); }

  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
    return folder_ / name;
  }

  fs::path folder_;
};

TEST_P(SubtitleCharsetGuess, IsMadeForTheLanguageThatTheNameTells) {
  std::string text;
  for (int i = 0; i < 5; ++i) text += GetParam().text;
  const std::string path = Write(GetParam().name, Encoded(text, GetParam().charset));
  EXPECT_EQ(GuessSubtitleCharset(path), GetParam().expected);
}

constexpr Guess kGuesses[] = {
    {"film.rus.srt", kRussian, "CP1251", "CP1251"},
    {"film.ru.srt", kRussian, "KOI8-R", "KOI8-R"},
    {"film.ru.srt", kRussian, "CP866", "CP866"},
    {"film.cze.srt", kCzech, "CP1250", "CP1250"},
    {"film.cht.srt", kTraditional, "BIG5", "BIG5"},
    {"film.chs.srt", kSimplified, "GBK", "GB18030"},
    {"film.zh.srt", kTraditional, "BIG5", "BIG5"},
    {"film.zh-TW.srt", kSimplified, "GBK", "GB18030"},
    {"film.jpn.srt", kJapanese, "CP932", "CP932"},
    {"film.ger.srt", kGerman, "CP1252", "CP1252"},
    {"film.forced.rus.srt", kRussian, "CP1251", "CP1251"},
    // The name says nothing.
    {"film.srt", kRussian, "CP1251", "auto"},
    {"film.directors-cut.srt", kRussian, "CP1251", "auto"},
    // The content says all.
    {"film.rus.srt", kRussian, "UTF-8", "auto"},
    {"film.ger.srt", "Guten Abend.\n", "ASCII", "auto"},
};
INSTANTIATE_TEST_SUITE_P(Names, SubtitleCharsetGuess, testing::ValuesIn(kGuesses));

TEST_F(SubtitleCharsetGuess, IsLeftToTheLibraryWhereNothingCanBeRead) {
  EXPECT_EQ(GuessSubtitleCharset(folder_ / "gone.rus.srt"), "auto");
  EXPECT_EQ(GuessSubtitleCharset(Write("empty.rus.srt", "")), "auto");
  fs::create_directory(folder_ / "folder.rus.srt");
  EXPECT_EQ(GuessSubtitleCharset(folder_ / "folder.rus.srt"), "auto");
  ASSERT_EQ(mkfifo((folder_ / "pipe.rus.srt").c_str(), 0600), 0);
  EXPECT_EQ(GuessSubtitleCharset(folder_ / "pipe.rus.srt"), "auto") << "and does not wait";
  const std::string real = Write("film.rus.srt", Encoded(kRussian, "CP1251"));
  fs::create_symlink(real, folder_ / "link.rus.srt");
  EXPECT_EQ(GuessSubtitleCharset(folder_ / "link.rus.srt"), "auto") << "a link is no file of the film's";
}

}  // namespace
