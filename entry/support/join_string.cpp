#include "contract/webapi/join_string.h"

namespace crvnkn {

std::string JoinString(const std::vector<std::string>& parts, const std::string& separator) {
  std::string joined;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) joined += separator;
    joined += parts[i];
  }
  return joined;
}

}  // namespace crvnkn
