// The pauses that the library has asked its caller for. None of them is made.
#pragma once

#include <vector>

namespace kinora::fakes {

// In milliseconds, since the program began or the test has cleared them.
std::vector<unsigned int>& Pauses();

}  // namespace kinora::fakes
