// What of a search's result can be tried to download.
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

namespace crvnkn::webapi::subtitle {

struct Candidate {
  std::string plugin_id;
  std::string subtitle_id;

  bool operator==(const Candidate&) const = default;
};

// In the result's order; items that lack an id are left out. Throws Error, without a message: 101 when the
// result has no array of items, 30000 when that is empty.
std::vector<Candidate> CandidatesOf(const Json::Value& result);

}  // namespace crvnkn::webapi::subtitle
