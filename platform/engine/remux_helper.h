// libexec/kinora-remux, which makes fragments and chunks of what is encoded already.
#pragma once

#include <string>
#include <vector>

#include "platform/engine/fragment_outcome.h"
#include "platform/engine/scratch_file.h"
#include "platform/system/child.h"

namespace kinora::engine {

// Runs it, by its zygote where one is at work, with these files as its descriptors 3, 4 and so on; one of
// them is `target`, which it writes. Somebody may have killed it, the kernel for want of memory perhaps: then
// it is given one more try. Throws std::system_error.
system::ChildResult RunRemux(const std::vector<std::string>& arguments, const std::vector<int>& descriptors,
                             const ScratchFile& target);

// kReady, kNoSpace or kFailed; all but the first with a line in the log, whose first words are `what`.
FragmentOutcome JudgeRemux(const system::ChildResult& result, const std::string& what);

}  // namespace kinora::engine
