#include "entry/scgi.h"

namespace kinora::entry {
namespace {

// Takes the bytes up to the next NUL off the front of `text`.
std::string TakeText(std::string_view& text) {
  const size_t end = text.find('\0');
  if (end == std::string_view::npos) throw Malformed("SCGI header does not end in NUL");
  std::string taken(text.substr(0, end));
  text.remove_prefix(end + 1);
  return taken;
}

size_t ParseLength(std::string_view digits) {
  if (digits.empty() || (digits.size() > 1 && digits[0] == '0')) throw Malformed("bad SCGI length");
  size_t length = 0;
  for (const char c : digits) length = length * 10 + static_cast<size_t>(c - '0');
  if (length > kLargestScgiHeader) throw Malformed("SCGI header too large");
  return length;
}

}  // namespace

size_t ScgiHeaderReader::Wanted() const {
  return length_ ? *length_ + 1 - bytes_.size() : kShortestScgiHeader - bytes_.size();
}

void ScgiHeaderReader::Feed(std::string_view bytes) {
  for (const char c : bytes) {
    if (length_) {
      bytes_ += c;
    } else if (c >= '0' && c <= '9') {
      if (bytes_.size() == 6) throw Malformed("SCGI header too large");
      bytes_ += c;
    } else if (c == ':') {
      length_ = ParseLength(bytes_);
      bytes_.clear();
    } else {
      throw Malformed("not an SCGI request");
    }
  }
  if (length_ && bytes_.size() > *length_ && (bytes_.size() > *length_ + 1 || bytes_.back() != ',')) {
    throw Malformed("SCGI header does not end in a comma");
  }
}

Variables ScgiHeaderReader::Parse() const {
  if (Wanted() > 0) throw Malformed("SCGI header incomplete");
  std::string_view rest = bytes_;
  rest.remove_suffix(1);
  Variables variables;
  while (!rest.empty()) {
    std::string name = TakeText(rest);
    std::string value = TakeText(rest);
    if (name.empty()) throw Malformed("SCGI variable without a name");
    if (!variables.try_emplace(std::move(name), std::move(value)).second) {
      throw Malformed("SCGI variable given twice");
    }
  }
  const auto protocol = variables.find("SCGI");
  if (protocol == variables.end() || protocol->second != "1") throw Malformed("not an SCGI request");
  if (!variables.contains("CONTENT_LENGTH")) throw Malformed("SCGI request without CONTENT_LENGTH");
  return variables;
}

}  // namespace kinora::entry
