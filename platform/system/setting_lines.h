// Settings files: text, one setting a line.
//
//   # a comment
//   key="value"
//
// Blanks around key, sign and quotes do not count. A value holds neither quotes nor control characters. Of
// several lines with the same key the last one counts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kinora::system {

struct SettingFile {
  std::string text;   // empty when there is no such file
  std::string fault;  // why it cannot be read; empty: it could, or is not there
};

// At most 64 KB: longer ones cannot be read.
SettingFile ReadSettingFile(const std::string& path);

struct SettingLine {
  int number = 0;  // in the file, from 1
  std::string_view name;
  std::string_view value;
  const char* fault = nullptr;  // what is wrong with it; name and value are empty then
};

// All lines of the text that are neither empty nor comments; they point into it.
std::vector<SettingLine> SettingLines(std::string_view text);

}  // namespace kinora::system
