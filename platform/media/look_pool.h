// Looking into many files on as many threads as the machine has cores.
#pragma once

#include <functional>
#include <string>

#include "platform/media/scan_plan.h"
#include "platform/media/scanner.h"

namespace kinora::media {

struct Looked {
  const ScanTask* task = nullptr;
  LookResult result;
  std::string marks;     // empty when it is no video
  bool settled = false;  // the file was the same before and after
};

// Looks at every task, in any order, and hands each outcome to `take` on the calling thread. When `take`
// throws, the looks under way are waited for and the others left.
void LookAtAll(const std::vector<ScanTask>& tasks, const LookFunction& look,
               const std::function<void(Looked)>& take);

}  // namespace kinora::media
