#include "library/subtitle/subtitle_candidates.h"

#include "contract/webapi/error.h"
#include "library/subtitle/json_member.h"

namespace crvnkn::webapi::subtitle {

std::vector<Candidate> CandidatesOf(const Json::Value& result) {
  if (!result.isObject() || !result["items"].isArray()) throw Error(kErrorBadParameter);
  if (result["items"].empty()) throw Error(kErrorNoSubtitleFound);
  std::vector<Candidate> candidates;
  for (const Json::Value& item : result["items"]) {
    Candidate candidate{TextOfMember(item, "plugin_id"), TextOfMember(item, "id")};
    if (candidate.plugin_id.empty() || candidate.subtitle_id.empty()) continue;
    candidates.push_back(std::move(candidate));
  }
  return candidates;
}

}  // namespace crvnkn::webapi::subtitle
