// The caller's side of the contract. Joining is not recorded.
#include "contract/webapi/join_string.h"
#include "contract/webapi/sleep.h"
#include "tests/fakes/pauses.h"

std::vector<unsigned int>& kinora::fakes::Pauses() {
  static std::vector<unsigned int> pauses;
  return pauses;
}

namespace crvnkn {

std::string JoinString(const std::vector<std::string>& parts, const std::string& separator) {
  std::string joined;
  for (size_t i = 0; i < parts.size(); ++i) joined += (i == 0 ? "" : separator) + parts[i];
  return joined;
}

void SleepMillisecond(unsigned int milliseconds) { kinora::fakes::Pauses().push_back(milliseconds); }

}  // namespace crvnkn
