// The effective ids of a test program: what any code in the process asks of them and sets lands here, and the
// process keeps its own.
#pragma once

#include <sys/types.h>

#include <set>

namespace kinora::fakes {

struct EffectiveIds {
  uid_t uid = 33;
  gid_t gid = 44;
  std::set<int> failing_calls;  // the first switch is 1
  int calls = 0;
};

// Every switch is written into the journal of calls: `setresuid(-1, 0, -1)`.
EffectiveIds& TheIds();

}  // namespace kinora::fakes
