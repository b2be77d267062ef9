#include "platform/system/setting_lines.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/base/descriptor.h"
#include "platform/base/text.h"

namespace kinora::system {
namespace {

constexpr size_t kMaxFileSize = 64U << 10;

std::string_view Trim(std::string_view text) { return base::Trim(text, " \t\r"); }

SettingLine ReadLine(std::string_view line, int number) {
  const size_t sign = line.find('=');
  if (sign == std::string_view::npos) return {number, {}, {}, "is not of the form key=\"value\""};
  std::string_view value = Trim(line.substr(sign + 1));
  if (value.size() < 2 || value.front() != '"' || value.back() != '"')
    return {number, {}, {}, "has a value without quotes"};
  value = value.substr(1, value.size() - 2);
  const auto is_odd = [](char c) { return c == '"' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  if (std::any_of(value.begin(), value.end(), is_odd))
    return {number, {}, {}, "has a quote or a control character in its value"};
  return {number, Trim(line.substr(0, sign)), value, nullptr};
}

}  // namespace

SettingFile ReadSettingFile(const std::string& path) {
  const base::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file && errno == ENOENT) return {};
  struct stat info {};
  if (!file || ::fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    return {"", file ? "no plain file" : std::strerror(errno)};
  }
  std::string text(kMaxFileSize + 1, '\0');
  size_t size = 0;
  ssize_t got = 0;
  while (size < text.size() && (got = ::read(file.Get(), text.data() + size, text.size() - size)) != 0) {
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) break;
    size += static_cast<size_t>(got);
  }
  if (got < 0) return {"", std::strerror(errno)};
  if (size > kMaxFileSize) return {"", "the file is too long"};
  text.resize(size);
  return {std::move(text), ""};
}

std::vector<SettingLine> SettingLines(std::string_view text) {
  std::vector<SettingLine> lines;
  for (int number = 1; !text.empty(); ++number) {
    const size_t end = text.find('\n');
    const std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.front() != '#') lines.push_back(ReadLine(line, number));
  }
  return lines;
}

}  // namespace kinora::system
