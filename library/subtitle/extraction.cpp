#include "library/subtitle/extraction.h"

#include <strings.h>

#include "contract/system/subtitle_files.h"
#include "library/subtitle/cache_file.h"

namespace crvnkn::webapi::subtitle {
namespace {

bool IsSubRip(const std::string& subtitle_path) {
  const std::string extension = libkn::subtitle::PathInfo(subtitle_path)["extension"].asString();
  return strcasecmp(extension.c_str(), "srt") == 0;
}

}  // namespace

bool GenerateV1(const GetMethodArguments& request, const std::string& v1_path) {
  if (!request.IsEmbedded() && IsSubRip(request.subtitle_id))
    return CopyToCache(request.subtitle_id, v1_path);
  return false;
}

}  // namespace crvnkn::webapi::subtitle
