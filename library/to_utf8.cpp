#include "library/to_utf8.h"

#include <enca.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <type_traits>
#include <vector>

#include "contract/system/hlibc.h"
#include "contract/system/process_runner.h"
#include "library/log.h"

namespace crvnkn::webapi {
namespace {

constexpr char kLogUnit[] = "to_utf8";
constexpr char kInterpreter[] = "/usr/bin/php";
constexpr char kConverter[] = "/var/packages/Kinora/target/scripts/phpiconv";
constexpr char kNoLanguage[] = "__";  // Enca's name for none in particular
constexpr size_t kAnalyzed = size_t{100} << 10;

struct CodePage {
  const char* name;
  const char* charset;
  const char* enca_language;  // null: none
};

// Languages only where the appliance has always given them: with others Enca decides texts that are guessed
// right today.
constexpr CodePage kCodePages[] = {
    {"utf8", "UTF-8", nullptr}, {"enu", "CP1252", nullptr},  {"fre", "CP1252", nullptr},
    {"ger", "CP1252", nullptr}, {"ita", "CP1252", nullptr},  {"spn", "CP1252", nullptr},
    {"cht", "CP950", "zh"},     {"chs", "CP936", "zh"},      {"jpn", "CP932", nullptr},
    {"krn", "CP949", nullptr},  {"ptb", "CP1252", nullptr},  {"rus", "CP1251", "ru"},
    {"dan", "CP1252", nullptr}, {"nor", "CP1252", nullptr},  {"sve", "CP1252", nullptr},
    {"nld", "CP1252", nullptr}, {"plk", "CP1250", "pl"},     {"ptg", "CP1252", nullptr},
    {"hun", "CP1250", "hu"},    {"trk", "CP1254", nullptr},  {"csy", "CP1250", "cs"},
    {"ara", "CP1256", nullptr}, {nullptr, nullptr, nullptr},
};

// The beginning of the file, in one read; empty when it cannot be read. Whatever is no plain file could make
// us wait for ever.
std::vector<unsigned char> ReadBeginning(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return {};
  std::vector<unsigned char> bytes;
  struct stat status {};
  if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
    bytes.resize(kAnalyzed);
    const ssize_t got = ::read(file, bytes.data(), bytes.size());
    bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
  }
  ::close(file);
  return bytes;
}

// Enca tells 16-bit text without its byte order. ASCII stored with the big end first begins with a zero.
std::string WithByteOrder(const std::string& charset, unsigned char first) {
  if (charset != "UCS-2") return charset;
  return first == 0xFE || first == 0x00 ? "UCS-2BE" : "UCS-2LE";
}

}  // namespace

std::string GetCrvnLanguage() {
  std::array<char, 8> value{};
  HLIBCFileGetKeyValue("/etc/crvninfo.conf", "codepage", value.data(), static_cast<int>(value.size()), 0);
  return value.data();
}

std::string GetCodepageName(const std::string& codepage, CodePageType type) {
  for (const CodePage* page = kCodePages; page->name != nullptr; ++page) {
    if (codepage != page->name) continue;
    const char* const name = type == CODEPAGE_ENCA_LANGUAGE ? page->enca_language : page->charset;
    return name == nullptr ? "" : name;
  }
  return "";
}

std::string AnalyzeEncodingByEnca(const std::string& language, const unsigned char* data,
                                  unsigned int length) {
  const std::unique_ptr<std::remove_pointer_t<EncaAnalyser>, void (*)(EncaAnalyser)> analyser(
      enca_analyser_alloc(language.c_str()), enca_analyser_free);
  if (!analyser) return "";
  enca_set_interpreted_surfaces(analyser.get(), 0);
  const EncaEncoding encoding = enca_analyse_const(analyser.get(), data, length);
  if (encoding.charset == ENCA_CS_UNKNOWN) return "";
  const char* const name = enca_charset_name(encoding.charset, ENCA_NAME_STYLE_ICONV);
  return name == nullptr ? "" : name;
}

std::string AnalyzeEncoding(const std::string& path) {
  const std::string codepage = GetCrvnLanguage();
  const std::vector<unsigned char> bytes = ReadBeginning(path);
  if (bytes.empty()) return "";
  std::string language = GetCodepageName(codepage, CODEPAGE_ENCA_LANGUAGE);
  if (language.empty()) language = kNoLanguage;
  std::string charset =
      AnalyzeEncodingByEnca(language, bytes.data(), static_cast<unsigned int>(bytes.size()));
  if (charset.empty()) charset = GetCodepageName(codepage, CODEPAGE_CHARSET);
  return WithByteOrder(charset, bytes.front());
}

bool EncodeToUTF8(const std::string& source, const std::string& output, const std::string& from) {
  if (source.empty() || output.empty() || from.empty()) return false;
  CRVNUtils::ProcessRunner converter(kInterpreter, kInterpreter);
  converter.addArguments("-f", kConverter, "--", "--from", from.c_str(), "--to", "UTF-8", "--output",
                         output.c_str());
  converter.addArguments(source.c_str());
  if (converter.run(true, false) < 0) {
    KINORA_LOG(LOG_ERR, kLogUnit, "failed to run");
    return false;
  }
  return true;
}

bool ToUTF8(const std::string& source, const std::string& charset, const std::string& output) {
  const std::string from = charset == "auto" ? AnalyzeEncoding(source) : charset;
  if (from.empty()) {
    KINORA_LOG(LOG_ERR, kLogUnit, "AnalyzeEncoding failed, %s", source.c_str());
    return false;
  }
  if (!EncodeToUTF8(source, output, from)) {
    KINORA_LOG(LOG_ERR, kLogUnit, "EncodeToUTF8 failed, %s, %s", source.c_str(), from.c_str());
    return false;
  }
  return true;
}

}  // namespace crvnkn::webapi
