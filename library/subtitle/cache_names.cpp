#include "library/subtitle/cache_names.h"

#include <string_view>

#include "library/log.h"
#include "library/subtitle/log_unit.h"
#include "library/to_utf8.h"

namespace crvnkn::webapi::subtitle {
namespace {

bool NamesOneFile(const std::string& name) {
  return name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

std::string CachePath(GetMethodArguments& request, const char* version, bool with_codepage) {
  const std::string folder = request.GetSubtitleEaPath();
  if (folder.empty()) return "";
  std::string name = std::string("CRVNVIDEO_2_0_SUBTITLE_") + version;
  if (with_codepage) {
    name += "_" + request.codepage;
    if (request.codepage == "auto") name += "_" + GetCrvnLanguage();
  }
  if (request.preview) name += "_PREVIEW";
  if (request.IsEmbedded()) name += "_" + request.subtitle_id;
  name += ".srt";
  if (!NamesOneFile(name)) {
    KINORA_LOG(LOG_ERR, kLogUnit, "no name of a cache file: %s", name.c_str());
    return "";
  }
  return folder + "/" + name;
}

}  // namespace

std::string V1Path(GetMethodArguments& request) { return CachePath(request, "V1", !request.IsEmbedded()); }

std::string V2Path(GetMethodArguments& request) { return CachePath(request, "V2", true); }

std::string RetiredV2Path(GetMethodArguments& request) { return CachePath(request, "V2_KEEP_SRT_TAG", true); }

std::string LockPath(const std::string& v1_path) { return v1_path + ".lock"; }

GetMethodArguments WithPreview(const GetMethodArguments& request, bool preview) {
  GetMethodArguments other = request;
  other.preview = preview;
  return other;
}

}  // namespace crvnkn::webapi::subtitle
