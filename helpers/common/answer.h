// A helper's main: give up rights, do the work, write the answer whole or not at all.
#pragma once

#include <functional>
#include <string>

#include "helpers/common/rights.h"

namespace kinora::helper {

// Runs `work` without rights and writes what it returns to standard output. Returns the program's exit code;
// a failure is one line on standard error. No file that it writes to may grow beyond `file_size` bytes; the
// processor is its for so many seconds at most.
int Answer(const std::function<std::string()>& work, uint64_t file_size = kLittle, uint64_t seconds = kShort);

}  // namespace kinora::helper
