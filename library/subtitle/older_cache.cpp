#include "library/subtitle/older_cache.h"

#include <array>

#include "contract/system/ea_dir.h"
#include "contract/system/fileop.h"
#include "library/log.h"
#include "library/subtitle/log_unit.h"

namespace crvnkn::webapi::subtitle {
namespace {

using libkn::critical::fileop::CheckFileAndGetMtime;

constexpr const char* kBaseNames[] = {"CRVNVIDEO_SUBTITLE", "CRVNVIDEO:SUBTITLE"};

// Empty, with a line in the log, when there is none.
std::string EaFolder(const std::string& source) {
  std::array<char, 4096> folder{};
  if (libkn::critical::crvnindex::GetEADirPath(source.c_str(), folder.data(),
                                               static_cast<int>(folder.size()))) {
    return folder.data();
  }
  KINORA_LOG(LOG_ERR, kLogUnit, "GetEADirPath failed: %s", source.c_str());
  return "";
}

}  // namespace

int FindOlderCache(const std::string& video_path, const std::string& subtitle_path, int track,
                   std::string& path) {
  path.clear();
  time_t video_time = 0;
  if (!CheckFileAndGetMtime(video_path, video_time)) return -1;
  const std::string folder = EaFolder(track == kNoTrack ? subtitle_path : video_path);
  if (folder.empty()) return -1;
  for (const char* const base_name : kBaseNames) {
    const std::string number = track == kNoTrack ? "" : "_" + std::to_string(track);
    const std::string candidate = folder + "/" + base_name + number + ".srt";
    time_t cache_time = 0;
    if (!CheckFileAndGetMtime(candidate, cache_time)) continue;
    path = candidate;
    return video_time < cache_time ? 1 : 0;
  }
  return 0;
}

}  // namespace crvnkn::webapi::subtitle
