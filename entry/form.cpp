#include "entry/form.h"

namespace kinora::entry {
namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

char DecodeEscape(std::string_view digits) {
  if (digits.size() < 2) throw Malformed("incomplete percent-encoding");
  const int high = HexValue(digits[0]);
  const int low = HexValue(digits[1]);
  if (high < 0 || low < 0) throw Malformed("bad percent-encoding");
  return static_cast<char>(high * 16 + low);
}

std::string Decode(std::string_view text, size_t longest) {
  std::string decoded;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '%') {
      c = DecodeEscape(text.substr(i + 1, 2));
      i += 2;
    } else if (c == '+') {
      c = ' ';
    }
    if (c == '\0') throw Malformed("NUL in a parameter");
    if (decoded.size() == longest) throw Malformed("parameter too long");
    decoded += c;
  }
  return decoded;
}

void AddField(std::string_view field, Form& form) {
  const size_t equals = field.find('=');
  std::string name = Decode(field.substr(0, equals), kLongestName);
  if (name.empty()) throw Malformed("parameter without a name");
  std::string value =
      equals == std::string_view::npos ? std::string() : Decode(field.substr(equals + 1), kLongestValue);
  if (form.size() == kMostFields) throw Malformed("too many parameters");
  if (!form.try_emplace(std::move(name), std::move(value)).second) throw Malformed("parameter given twice");
}

}  // namespace

void ParseForm(std::string_view text, Form& form) {
  while (!text.empty()) {
    const size_t end = text.find('&');
    const std::string_view field = text.substr(0, end);
    if (!field.empty()) AddField(field, form);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  }
}

}  // namespace kinora::entry
