#include "library/subtitle/cached.h"

#include <sys/stat.h>

#include <algorithm>
#include <optional>

#include "library/log.h"
#include "library/subtitle/cache_file.h"
#include "library/subtitle/cache_names.h"
#include "library/subtitle/extraction.h"
#include "library/subtitle/log_unit.h"
#include "library/subtitle/scratch_file.h"
#include "library/to_utf8.h"

namespace crvnkn::webapi::subtitle {
namespace {

struct Stage {
  std::string (*path)(GetMethodArguments& request);
  // Fills the file `path` from the one of the stage before.
  bool (*generate)(const GetMethodArguments& request, const std::string& previous, const std::string& path);
  // Removes what the file `path`, which is valid, makes superfluous.
  void (*finish)(GetMethodArguments& request, const std::string& path);
};

bool GenerateFirst(const GetMethodArguments& request, const std::string& /*previous*/,
                   const std::string& path) {
  return GenerateV1(request, path);
}

void RemoveWithLock(const std::string& v1_path) {
  RemoveCacheFile(v1_path);
  RemoveCacheFile(LockPath(v1_path));
}

void FinishV1(GetMethodArguments& request, const std::string& path) {
  if (!request.IsEmbedded()) return;
  RemoveCacheFile(LockPath(path));
  if (request.preview) return;
  GetMethodArguments preview = WithPreview(request, true);
  RemoveWithLock(V1Path(preview));
}

// The converter leaves nothing, or next to nothing, when it could make nothing of the text.
bool HoldsText(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && status.st_size >= 2;
}

bool GenerateV2(const GetMethodArguments& request, const std::string& previous, const std::string& path) {
  if (!IsOwnCacheFile(previous)) return false;
  const ScratchFile converted("utf8-2", "srt");
  if (!ToUTF8(previous, request.codepage, converted.Path())) {
    KINORA_LOG(LOG_ERR, kLogUnit, "ToUTF8 fail %s", previous.c_str());
    return false;
  }
  return CopyToCache(HoldsText(converted.Path()) ? converted.Path() : previous, path);
}

void FinishV2(GetMethodArguments& request, const std::string& /*path*/) {
  RemoveCacheFile(RetiredV2Path(request));
  if (!request.IsEmbedded()) return;
  GetMethodArguments opposite = WithPreview(request, !request.preview);
  RemoveCacheFile(RetiredV2Path(opposite));
  if (!request.preview) RemoveCacheFile(V2Path(opposite));
}

constexpr Stage kStages[] = {
    {V1Path, GenerateFirst, FinishV1},
    {V2Path, GenerateV2, FinishV2},
};

// In whole seconds: a source that is changed within the second in which its cache was made makes it stale.
std::optional<time_t> ModificationTime(const std::string& path) {
  struct stat status {};
  if (path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0) return status.st_mtime;
  KINORA_LOG(LOG_ERR, kLogUnit, "stat %s failed", path.c_str());
  return std::nullopt;
}

// Of the video and the subtitle; nothing when one of them is not there.
std::optional<time_t> NewestSource(const GetMethodArguments& request) {
  const std::optional<time_t> video = ModificationTime(request.video_path);
  if (!video || request.IsEmbedded()) return video;
  const std::optional<time_t> subtitle = ModificationTime(request.subtitle_id);
  if (!subtitle) return std::nullopt;
  return std::max(*video, *subtitle);
}

bool IsValid(const std::string& path, time_t newest_source) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && status.st_size >= 1 && status.st_mtime > newest_source;
}

}  // namespace

std::string BringToCache(GetMethodArguments& request) {
  if (request.video_path.empty()) return "";
  const std::optional<time_t> newest_source = NewestSource(request);
  if (!newest_source) return "";
  std::string previous;
  for (const Stage& stage : kStages) {
    const std::string path = stage.path(request);
    if (path.empty()) return "";
    if (!IsValid(path, *newest_source) && !stage.generate(request, previous, path)) return "";
    stage.finish(request, path);
    previous = path;
  }
  return previous;
}

}  // namespace crvnkn::webapi::subtitle
