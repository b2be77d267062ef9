#include "helpers/remux/arguments.h"

namespace kinora::helper {

Moment MomentFrom(std::string_view text) {
  const size_t slash = text.find('/');
  if (slash == std::string_view::npos) throw Failure(kUsage, "no fraction");
  return {NumberFrom<int64_t>(text.substr(0, slash), 0, kLatest),
          NumberFrom<int64_t>(text.substr(slash + 1), 1, int64_t{1} << 31)};
}

}  // namespace kinora::helper
