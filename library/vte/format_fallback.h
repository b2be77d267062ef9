// Several ways to set one stream up, tried in order until one succeeds.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "contract/webapi/error.h"

namespace crvnkn::webapi::vte {

// One way, bound to the request that it serves.
struct SetUpRoutine {
  std::string format;
  std::function<std::string()> set_up;  // gives the new stream's id, or an empty one when it declines
};

struct OpenedStream {
  std::string format;
  std::string id;  // empty when no routine succeeded
};

// Calls the routines whose format is among `available` in the order of `routines`, whatever the order of
// `available`. An Error sends on to the next routine and is kept in `last_error`; any other exception passes.
OpenedStream OpenFirstAvailable(const std::vector<SetUpRoutine>& routines,
                                const std::vector<std::string>& available, Error& last_error);

}  // namespace crvnkn::webapi::vte
