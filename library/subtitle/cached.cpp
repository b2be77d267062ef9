#include "library/subtitle/cached.h"

#include <sys/stat.h>

#include <optional>

#include "library/log.h"
#include "library/subtitle/cache_file.h"
#include "library/subtitle/cache_freshness.h"
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

}  // namespace

std::string BringToCache(GetMethodArguments& request) {
  if (request.video_path.empty()) return "";
  const std::optional<time_t> newest_source = NewestSource(request);
  if (!newest_source) return "";
  std::string previous;
  for (const Stage& stage : kStages) {
    const std::string path = stage.path(request);
    if (path.empty()) return "";
    if (!IsNewer(path, *newest_source) && !stage.generate(request, previous, path)) return "";
    stage.finish(request, path);
    previous = path;
  }
  return previous;
}

}  // namespace crvnkn::webapi::subtitle
