#include "library/subtitle/cache_freshness.h"

#include <sys/stat.h>

#include <algorithm>

#include "library/log.h"
#include "library/subtitle/log_unit.h"

namespace crvnkn::webapi::subtitle {
namespace {

std::optional<time_t> ModificationTime(const std::string& path) {
  struct stat status {};
  if (path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0) return status.st_mtime;
  KINORA_LOG(LOG_ERR, kLogUnit, "stat %s failed", path.c_str());
  return std::nullopt;
}

}  // namespace

std::optional<time_t> NewestSource(const GetMethodArguments& request) {
  const std::optional<time_t> video = ModificationTime(request.video_path);
  if (!video || request.IsEmbedded()) return video;
  const std::optional<time_t> subtitle = ModificationTime(request.subtitle_id);
  if (!subtitle) return std::nullopt;
  return std::max(*video, *subtitle);
}

bool IsNewer(const std::string& cache_path, time_t newest_source) {
  struct stat status {};
  return ::stat(cache_path.c_str(), &status) == 0 && status.st_size >= 1 && status.st_mtime > newest_source;
}

bool IsFresh(const std::string& cache_path, const GetMethodArguments& request) {
  const std::optional<time_t> newest_source = NewestSource(request);
  return newest_source && IsNewer(cache_path, *newest_source);
}

}  // namespace crvnkn::webapi::subtitle
