#include "library/vte/utils.h"

#include <array>
#include <cstdio>
#include <memory>

#include "contract/webapi/join_string.h"
#include "library/log.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kLogUnit[] = "vte/utils";
constexpr size_t kReadLimit = 2048;

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

File Open(const std::string& path, const char* mode) { return File(std::fopen(path.c_str(), mode)); }

}  // namespace

std::string JoinPath(const std::vector<std::string>& parts) { return JoinString(parts, "/"); }

bool SaveFile(const std::string& path, const std::string& content) {
  if (path.empty()) return false;
  const File file = Open(path, "w+");
  if (!file) return false;
  std::fwrite(content.data(), 1, content.size(), file.get());
  return true;
}

std::string ReadFile(const std::string& path) {
  if (path.empty()) return {};
  const File file = Open(path, "r");
  if (!file) {
    KINORA_LOG(LOG_ERR, kLogUnit, "Failed to open file [%s]", path.c_str());
    return {};
  }
  std::array<char, kReadLimit + 1> buffer{};  // one more, so that a full read still ends in NUL
  if (std::fread(buffer.data(), 1, kReadLimit, file.get()) == 0) return {};
  return buffer.data();
}

bool RecordAccessStatus(const std::string& path) { return SaveFile(path, "touch"); }

void PrintChromecastHeader() {
  std::fputs(
      "Access-Control-Allow-Origin: *\r\n"
      "Access-Control-Allow-Methods: GET\r\n"
      "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range\r\n",
      stdout);
  std::fflush(stdout);
}

}  // namespace crvnkn::webapi::vte
