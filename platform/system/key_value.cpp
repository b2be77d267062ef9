#include <algorithm>
#include <cstring>

#include "contract/system/hlibc.h"
#include "platform/base/log.h"
#include "platform/system/setting_lines.h"

int HLIBCFileGetKeyValue(const char* path, const char* key, char* buffer, int size, int flags) {
  using namespace kinora::system;
  if (path == nullptr || key == nullptr || buffer == nullptr || size < 1 || flags != 0) return -1;
  const SettingFile file = ReadSettingFile(path);
  if (!file.fault.empty()) {
    kinora::base::Log(LOG_ERR, "system/key_value", std::string("cannot read ") + path + ": " + file.fault);
    return -1;
  }
  const std::vector<SettingLine> lines = SettingLines(file.text);
  const auto found = std::find_if(lines.rbegin(), lines.rend(),
                                  [key](const SettingLine& line) { return !line.fault && line.name == key; });
  if (found == lines.rend()) return 0;
  const size_t copied = std::min(found->value.size(), static_cast<size_t>(size) - 1);
  std::memcpy(buffer, found->value.data(), copied);
  buffer[copied] = '\0';
  return static_cast<int>(found->value.size());
}
