#include "platform/base/text.h"

namespace kinora::base {
namespace {

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The length of the well-formed character at the start of `bytes`, or 0 (Unicode, table 3-7).
size_t CharacterLength(std::string_view bytes) {
  const auto at = [&](size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U; };
  const unsigned int first = at(0);
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return IsContinuation(at(1)) ? 2 : 0;
  if (first >= 0xE0 && first <= 0xEF) {
    const unsigned int low = first == 0xE0 ? 0xA0 : 0x80;
    const unsigned int high = first == 0xED ? 0x9F : 0xBF;
    return at(1) >= low && at(1) <= high && IsContinuation(at(2)) ? 3 : 0;
  }
  if (first >= 0xF0 && first <= 0xF4) {
    const unsigned int low = first == 0xF0 ? 0x90 : 0x80;
    const unsigned int high = first == 0xF4 ? 0x8F : 0xBF;
    return at(1) >= low && at(1) <= high && IsContinuation(at(2)) && IsContinuation(at(3)) ? 4 : 0;
  }
  return 0;
}

// U+0000 to U+001F, U+007F to U+009F, and U+2028 to U+202E, U+2066 to U+2069, which break or turn a line.
bool IsControl(std::string_view character) {
  const auto at = [&](size_t i) { return static_cast<unsigned char>(character[i]); };
  if (character.size() == 1) return at(0) < 0x20 || at(0) == 0x7F;
  if (character.size() == 2) return at(0) == 0xC2 && at(1) < 0xA0;
  if (character.size() != 3 || at(0) != 0xE2) return false;
  return (at(1) == 0x80 && at(2) >= 0xA8 && at(2) <= 0xAE) ||
         (at(1) == 0x81 && at(2) >= 0xA6 && at(2) <= 0xA9);
}

}  // namespace

bool IsUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const size_t length = CharacterLength(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

std::string ToUtf8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const size_t length = CharacterLength(bytes);
    if (length == 0) {
      text += "\xEF\xBF\xBD";
      bytes.remove_prefix(1);
    } else {
      text += bytes.substr(0, length);
      bytes.remove_prefix(length);
    }
  }
  return text;
}

std::string ToOneLine(std::string_view bytes) {
  const std::string whole = ToUtf8(bytes);
  std::string_view rest = whole;
  std::string line;
  line.reserve(whole.size());
  while (!rest.empty()) {
    const size_t length = CharacterLength(rest);
    const std::string_view character = rest.substr(0, length);
    rest.remove_prefix(length);
    if (IsControl(character)) {
      line += '?';
    } else {
      line += character;
    }
  }
  return line;
}

std::string_view Trim(std::string_view text, std::string_view blanks) {
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string ToLowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string ToHex(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace kinora::base
