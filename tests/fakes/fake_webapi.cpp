// The caller's side of the contract. Not recorded: it only joins.
#include "contract/webapi/join_string.h"

namespace crvnkn {

std::string JoinString(const std::vector<std::string>& parts, const std::string& separator) {
  std::string joined;
  for (size_t i = 0; i < parts.size(); ++i) joined += (i == 0 ? "" : separator) + parts[i];
  return joined;
}

}  // namespace crvnkn
