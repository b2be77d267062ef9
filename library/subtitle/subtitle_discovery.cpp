#include "library/subtitle/subtitle_discovery.h"

#include <vector>

#include "contract/system/hlibc.h"
#include "contract/system/subtitle_files.h"
#include "contract/webapi/error.h"
#include "library/run_as.h"
#include "library/subtitle/discovery_folder.h"
#include "library/subtitle/json_member.h"
#include "library/subtitle/plugin_file.h"
#include "library/subtitle/plugin_log_unit.h"
#include "library/subtitle/subtitle_candidates.h"
#include "library/subtitle/subtitle_download.h"
#include "library/subtitle/subtitle_search.h"

namespace crvnkn::webapi::subtitle {
namespace {

// Stands for the video in its discovery folder: subtitles are put next to it.
std::string MakeTarget(const std::string& path) {
  const std::string name = TextOfMember(libkn::subtitle::PathInfo(path), "basename");
  if (name.empty()) throw Error(kErrorBadParameter);
  std::string folder;
  {
    RUN_AS(kPluginLogUnit, 0, 0);
    folder = MakeDiscoveryFolder(path);
  }
  if (folder.empty()) throw Error(kErrorBadParameter);
  return folder + "/" + name;
}

// The first one that is there; empty when it is not usable, which removes it.
std::string LeftByEarlierCall(const std::string& target) {
  Json::Value files(Json::arrayValue);
  if (libkn::subtitle::GetExternalSubtitle(target, files) < 0) throw Error(kErrorNoPermission);
  if (!files.isArray() || files.empty() || !files[0].isString()) return "";
  const std::string file = files[0].asString();
  RUN_AS(kPluginLogUnit, 0, 0);
  return IsValidSubtitleFile(file) ? file : "";
}

// Empty when the candidate is not usable.
std::string Fetch(const std::string& target, const Candidate& candidate) {
  Json::Value answer;
  if (!DownloadSubtitle(target, candidate.plugin_id, candidate.subtitle_id, answer)) return "";
  std::string file;
  GetStringMember(answer, "id", file);
  return IsValidSubtitleFile(file) ? file : "";
}

std::string FetchFirstUsable(const std::string& target, const std::vector<Candidate>& candidates) {
  RUN_AS(kPluginLogUnit, 0, 0);
  for (const Candidate& candidate : candidates) {
    const std::string file = Fetch(target, candidate);
    if (!file.empty()) return file;
  }
  return "";
}

}  // namespace

bool IsValidSubtitleFile(const std::string& file) {
  constexpr char kProbe[] = "/var/packages/Kinora/target/bin/ffprobe";
  if (file.empty()) return false;
  if (HLIBCExec(kProbe, "-i", file.c_str(), nullptr) == 0) return true;
  RemovePluginFile(file);
  return false;
}

std::string DiscoverSubtitle(const std::string& path) {
  const std::string target = MakeTarget(path);
  std::string file = LeftByEarlierCall(target);
  if (!file.empty()) return file;
  file = FetchFirstUsable(target, CandidatesOf(GetSubtitleSearchResult(path)));
  if (file.empty()) throw Error(kErrorNoSubtitleFound);
  return file;
}

}  // namespace crvnkn::webapi::subtitle
