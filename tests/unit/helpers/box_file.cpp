#include "tests/unit/helpers/box_file.h"

#include <gtest/gtest.h>

#include <optional>

namespace kinora::helper {
namespace {

constexpr size_t kHead = 8;

uint32_t Number(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
  return value;
}

struct Span {
  size_t start;
  size_t size;
};

std::optional<Span> Find(const std::string& bytes, const std::string& type) {
  for (size_t at = 0; at + kHead <= bytes.size();) {
    const size_t size = Number(bytes, at);
    if (size < kHead || at + size > bytes.size()) return std::nullopt;
    if (bytes.compare(at + 4, 4, type) == 0) return Span{at, size};
    at += size;
  }
  return std::nullopt;
}

}  // namespace

std::string BigEndian32(uint32_t value) {
  return BigEndian16(static_cast<uint16_t>(value >> 16)) + BigEndian16(static_cast<uint16_t>(value));
}

std::string BigEndian16(uint16_t value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

std::string Box(const std::string& type, const std::string& content) {
  return BigEndian32(static_cast<uint32_t>(content.size() + kHead)) + type + content;
}

std::string BoxAt(const std::string& file, const std::vector<std::string>& path) {
  std::string content = file;
  for (const std::string& type : path) {
    const std::optional<Span> span = Find(content, type);
    if (!span) return "";
    content = content.substr(span->start + kHead, span->size - kHead);
  }
  return content;
}

std::string WithBox(const std::string& file, const std::vector<std::string>& path,
                    const std::string& content) {
  if (path.empty()) return content;
  const std::optional<Span> span = Find(file, path[0]);
  EXPECT_TRUE(span) << "no box " << path[0];
  if (!span) return file;
  const std::string inner = file.substr(span->start + kHead, span->size - kHead);
  const std::string changed = WithBox(inner, {path.begin() + 1, path.end()}, content);
  return file.substr(0, span->start) + Box(path[0], changed) + file.substr(span->start + span->size);
}

}  // namespace kinora::helper
