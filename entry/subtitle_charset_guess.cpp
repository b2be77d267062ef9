#include "entry/subtitle_charset_guess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "contract/system/subtitle_files.h"
#include "entry/subtitle_charsets.h"
#include "library/to_utf8.h"
#include "platform/base/descriptor.h"

namespace kinora::entry {
namespace {

constexpr char kAutomatic[] = "auto";
constexpr char kNoLanguage[] = "__";  // as Enca has it
constexpr size_t kAnalyzed = 100 * 1024;

// What texts of a language are likely to be in where they are no Unicode.
struct Language {
  std::string_view tag;  // RFC 5646, or its beginning
  const char* analyser;  // of Enca; null: it knows nothing of the language
  const char* charset;   // when that cannot tell either
};
// A longer tag stands before its beginning.
constexpr Language kLanguages[] = {
    {"ar", nullptr, "CP1256"},     {"be", "be", "CP1251"},         {"bg", "bg", "CP1251"},
    {"bs", nullptr, "CP1250"},     {"ca", nullptr, "CP1252"},      {"cs", "cs", "CP1250"},
    {"da", nullptr, "CP1252"},     {"de", nullptr, "CP1252"},      {"el", nullptr, "CP1253"},
    {"en", nullptr, "CP1252"},     {"es", nullptr, "CP1252"},      {"et", "et", "CP1257"},
    {"eu", nullptr, "CP1252"},     {"fa", nullptr, "CP1256"},      {"fi", nullptr, "CP1252"},
    {"fr", nullptr, "CP1252"},     {"gl", nullptr, "CP1252"},      {"he", nullptr, "CP1255"},
    {"hr", "hr", "CP1250"},        {"hu", "hu", "CP1250"},         {"id", nullptr, "CP1252"},
    {"is", nullptr, "CP1252"},     {"it", nullptr, "CP1252"},      {"ja", nullptr, "CP932"},
    {"ko", nullptr, "CP949"},      {"lt", "lt", "CP1257"},         {"lv", "lv", "CP1257"},
    {"mk", nullptr, "CP1251"},     {"ms", nullptr, "CP1252"},      {"nb", nullptr, "CP1252"},
    {"nl", nullptr, "CP1252"},     {"nn", nullptr, "CP1252"},      {"no", nullptr, "CP1252"},
    {"pl", "pl", "CP1250"},        {"pt", nullptr, "CP1252"},      {"ro", nullptr, "CP1250"},
    {"ru", "ru", "CP1251"},        {"sk", "sk", "CP1250"},         {"sl", "sl", "CP1250"},
    {"sq", nullptr, "CP1252"},     {"sr-Cyrl", nullptr, "CP1251"}, {"sr", nullptr, "CP1250"},
    {"sv", nullptr, "CP1252"},     {"th", nullptr, "CP874"},       {"tr", nullptr, "CP1254"},
    {"uk", "uk", "CP1251"},        {"vi", nullptr, "CP1258"},      {"zh-Hant", "zh", "BIG5"},
    {"zh-HK", "zh", "BIG5-HKSCS"}, {"zh-TW", "zh", "BIG5"},        {"zh", "zh", "GB18030"},
};

bool BeginsWithTag(std::string_view text, std::string_view tag) {
  return text.starts_with(tag) && (text.size() == tag.size() || text[tag.size()] == '-');
}

const Language* LanguageOf(const std::string& path) {
  const std::string tag = libkn::subtitle::PathInfo(path)["language"].asString();
  const auto* const known = std::find_if(std::begin(kLanguages), std::end(kLanguages),
                                         [&](const Language& one) { return BeginsWithTag(tag, one.tag); });
  return known == std::end(kLanguages) ? nullptr : known;
}

// Empty when there is nothing to read, or nothing that is a plain file.
std::string ReadBeginning(const std::string& path) {
  const base::Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  std::string bytes(kAnalyzed, '\0');
  const ssize_t got = read(file.Get(), bytes.data(), bytes.size());
  bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return bytes;
}

// The names that Enca has for what the list calls otherwise.
std::string NameInList(const std::string& charset) {
  if (charset == "GBK") return "GB18030";
  if (charset.starts_with("IBM")) return "CP" + charset.substr(3);
  return charset;
}

std::string Analyze(const char* language, const std::string& bytes) {
  return crvnkn::webapi::AnalyzeEncodingByEnca(language, reinterpret_cast<const unsigned char*>(bytes.data()),
                                               static_cast<unsigned int>(bytes.size()));
}

}  // namespace

std::string GuessSubtitleCharset(const std::string& path) {
  const Language* const language = LanguageOf(path);
  if (language == nullptr) return kAutomatic;
  const std::string bytes = ReadBeginning(path);
  if (bytes.empty() || !Analyze(kNoLanguage, bytes).empty()) return kAutomatic;
  if (language->analyser == nullptr) return language->charset;
  const std::string charset = NameInList(Analyze(language->analyser, bytes));
  return IsSubtitleCharset(charset) ? charset : language->charset;
}

}  // namespace kinora::entry
