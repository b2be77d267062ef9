// A helper's main: give up rights, do the work, write the answer whole or not at all.
#pragma once

#include <functional>
#include <string>

namespace kinora::helper {

// Runs `work` without rights and writes what it returns to standard output. Returns the program's exit code;
// a failure is one line on standard error.
int Answer(const std::function<std::string()>& work);

}  // namespace kinora::helper
