#include "entry/subtitle_charsets.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>

using namespace kinora::entry;
namespace fs = std::filesystem;

namespace {

// What a shell's command line writes to its output.
std::string OutputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) return {};
  std::string output;
  char buffer[4096];
  for (size_t got; (got = fread(buffer, 1, sizeof buffer, pipe.get())) > 0;) output.append(buffer, got);
  return output;
}

// The names that the machine's iconv has, as it prints them and without the slashes at their ends.
std::set<std::string> NamesOfIconv() {
  std::set<std::string> names;
  std::istringstream words(OutputOf("iconv -l"));
  for (std::string name; words >> name;) {
    names.insert(name);
    names.insert(name.substr(0, name.find('/')));
  }
  return names;
}

// The converter as it is installed.
class Converter {
 public:
  Converter() {
    std::string name = testing::TempDir() + "charsets-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder");
    folder_ = name;
  }
  ~Converter() { fs::remove_all(folder_); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // The text from this charset; nothing when the converter refuses.
  std::optional<std::string> Convert(const std::string& charset, const std::string& text) const {
    std::ofstream(folder_ / "source") << text;
    const std::string done = OutputOf("/usr/bin/php -f " KINORA_SOURCE_DIR "/packaging/phpiconv -- --from " +
                                      charset + " --to UTF-8 --output " + (folder_ / "output").string() +
                                      " " + (folder_ / "source").string() + " 2>/dev/null && echo done");
    if (done.empty()) return std::nullopt;
    std::ifstream file(folder_ / "output");
    return std::string{std::istreambuf_iterator<char>(file), {}};
  }

 private:
  fs::path folder_;
};

std::string WritingOf(const SubtitleCharset& charset) {
  const std::string title = charset.title;
  return title.substr(0, title.find_first_of(" ,"));
}

}  // namespace

TEST(SubtitleCharsets, AreInAnOrderInWhichTheyAreFound) {
  const std::vector<SubtitleCharset>& all = SubtitleCharsets();
  ASSERT_GT(all.size(), 30U);
  EXPECT_STREQ(all[0].name, "auto");
  EXPECT_STREQ(all[1].name, "UTF-8");
  const auto writings = std::find_if(all.begin(), all.end(), [](const SubtitleCharset& charset) {
    return WritingOf(charset) != "Automatic" && WritingOf(charset) != "Unicode";
  });
  EXPECT_TRUE(std::is_sorted(writings, all.end(),
                             [](const auto& a, const auto& b) { return WritingOf(a) < WritingOf(b); }));
}

TEST(SubtitleCharsets, HaveNamesAndTitlesOfTheirOwn) {
  std::set<std::string> names;
  std::set<std::string> titles;
  for (const SubtitleCharset& charset : SubtitleCharsets()) {
    EXPECT_TRUE(names.insert(charset.name).second) << charset.name;
    EXPECT_TRUE(titles.insert(charset.title).second) << charset.title;
    // It becomes a part of a file's name, and an argument of the converter.
    EXPECT_EQ(std::string(charset.name)
                  .find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-"),
              std::string::npos);
    EXPECT_NE(charset.name[0], '-');
  }
}

TEST(SubtitleCharsets, AreTakenByTheConverterAndHideNothingInPlainLetters) {
  const Converter converter;
  const std::string plain = "1 +ADw-b+AD4- ~{<b>~}";
  for (const SubtitleCharset& charset : SubtitleCharsets()) {
    const std::string name = charset.name;
    if (name == "auto") continue;
    const std::optional<std::string> converted = converter.Convert(name, plain);
    ASSERT_TRUE(converted) << name;
    if (name.starts_with("UTF-16")) continue;
    EXPECT_EQ(*converted, plain) << name;
  }
  EXPECT_EQ(converter.Convert("auto", plain), std::nullopt);
  EXPECT_EQ(converter.Convert("UTF-7", plain), std::nullopt);
}

TEST(SubtitleCharsets, AreFewOfThoseThatIconvKnows) {
  const std::set<std::string> known = NamesOfIconv();
  ASSERT_GT(known.size(), 500U) << "what iconv knows";
  std::set<std::string> taken;
  std::copy_if(known.begin(), known.end(), std::inserter(taken, taken.end()), IsSubtitleCharset);
  std::set<std::string> offered;
  for (const SubtitleCharset& charset : SubtitleCharsets()) offered.insert(charset.name);
  for (const std::string& name : taken) EXPECT_TRUE(offered.contains(name)) << name;
  // Those that can hide markup in plain letters, and what is no name but would be heeded.
  for (const char* name : {"UTF-7",
                           "UTF-7//",
                           "UTF-7-IMAP",
                           "UNICODE-1-1-UTF-7",
                           "HZ",
                           "ISO-2022-KR",
                           "ISO-2022-CN",
                           "EBCDIC-US",
                           "IBM037",
                           "utf-8",
                           "AUTO",
                           "UTF-8//IGNORE",
                           "UTF-8//TRANSLIT",
                           "//IGNORE",
                           "-f",
                           "--help",
                           "UTF-8 ",
                           " UTF-8",
                           "",
                           "UTF",
                           "UTF-88",
                           "../UTF-8",
                           "CP1252\n",
                           "CP1252;id"}) {
    EXPECT_FALSE(IsSubtitleCharset(name)) << name;
  }
}
