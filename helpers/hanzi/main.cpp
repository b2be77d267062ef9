// kinora-hanzi CONFIG: converts the text (UTF-8, 32 MiB at most) that is open as descriptor 3 from one
// Chinese script into the other, as the configuration of OpenCC at the absolute path CONFIG says, and writes
// it to standard output, whole or not at all. Opens the configuration and what it names, and nothing after
// that.
//
// A program of its own, because OpenCC's licence and Enca's exclude each other in one (docs/licences.md). The
// exit codes are those of sysexits.h.
#include <sysexits.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <opencc/SimpleConverter.hpp>
#include <optional>
#include <string>
#include <vector>

#include "helpers/common/rights.h"
#include "helpers/common/write_all.h"
#include "helpers/hanzi/convert.h"
#include "platform/base/text.h"

namespace {

namespace helper = kinora::helper;

constexpr int kTextDescriptor = 3;
constexpr size_t kLongestText = size_t{32} << 20;  // bytes

int Fail(int code, const std::string& reason) {
  std::fprintf(stderr, "%s\n", reason.c_str());
  return code;
}

// Nothing when it cannot be read or is too long.
std::optional<std::string> ReadText() {
  std::string text;
  std::vector<char> buffer(size_t{64} << 10);
  while (text.size() <= kLongestText) {
    const ssize_t got = ::read(kTextDescriptor, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return text;
    text.append(buffer.data(), static_cast<size_t>(got));
  }
  return std::nullopt;
}

int Convert(const opencc::SimpleConverter& converter) {
  const std::optional<std::string> text = ReadText();
  if (!text || !kinora::base::IsUtf8(*text)) {
    return Fail(EX_DATAERR, "the text cannot be read, is too long or no UTF-8");
  }
  const std::string converted =
      helper::ConvertInParts(*text, [&](const std::string& part) { return converter.Convert(part); });
  return helper::WriteAll(STDOUT_FILENO, converted) ? EX_OK : Fail(EX_IOERR, "the text cannot be written");
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 || arguments[1][0] != '/')
    return Fail(EX_USAGE, "usage: kinora-hanzi CONFIG 3<TEXT >CONVERTED");
  if (const std::string trouble = helper::DropRights(); !trouble.empty()) return Fail(EX_NOPERM, trouble);
  std::unique_ptr<opencc::SimpleConverter> converter;
  try {
    converter = std::make_unique<opencc::SimpleConverter>(arguments[1]);
  } catch (const std::exception& error) {
    return Fail(EX_CONFIG, std::string("the configuration cannot be used: ") + error.what());
  }
  if (const std::string trouble = helper::GiveUpRights(); !trouble.empty()) return Fail(EX_NOPERM, trouble);
  try {
    return Convert(*converter);
  } catch (const std::exception& error) {
    return Fail(EX_SOFTWARE, error.what());
  }
}
