// Running a helper by its zygote: a process of the helper that has loaded its libraries and forks itself for
// each run (helpers/common/zygote.h). What comes out is the same as from executing it; only sooner.
#pragma once

#include <string>

#include "platform/system/child.h"

namespace kinora::system {

// Asks the zygote that listens on `socket` for a run with the command's arguments, the program's name left
// out, and its descriptors, whose numbers are 3, 4 and so on in this order. Of the limits the deadline holds;
// the zygote sets its own besides. Waits for the end. The output is empty: standard output leads nowhere.
//
// kNotStarted, without a line in the log: there is no zygote at work. A run that has ended without a status,
// also because the zygote died or refused it, counts as kSignalled by SIGKILL.
ChildResult RunByZygote(const std::string& socket, const Command& command);

}  // namespace kinora::system
