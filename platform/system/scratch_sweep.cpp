#include "platform/system/scratch_sweep.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/base/file_time.h"
#include "platform/base/log.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;

constexpr char kPrefix[] = "CRVNVIDEO_";
constexpr int64_t kHour = int64_t{3600} * 1'000'000'000;

bool IsLeft(const fs::path& file, int64_t now) {
  struct stat status {};
  return file.filename().string().starts_with(kPrefix) && ::lstat(file.c_str(), &status) == 0 &&
         S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
         now - base::NanosecondsOf(status.st_mtim) > kHour;
}

}  // namespace

void SweepSubtitleScratch(const std::string& folder, int64_t now) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const fs::path& file = entry->path();
    if (!IsLeft(file, now) || ::unlink(file.c_str()) == 0 || errno == ENOENT) continue;
    base::Log(LOG_WARNING, "system/scratch_sweep",
              "cannot remove [" + file.string() + "]: " + std::strerror(errno));
  }
}

}  // namespace kinora::system
