// Passwords on their way in and out: never in the list of arguments, which every process may read.
#pragma once

#include <iosfwd>
#include <string>

namespace kinora::cli {

// The first line of the input, without its end. On a terminal it is asked for, twice, and not shown. Throws
// std::invalid_argument when there is no line or the two differ.
std::string ReadPassword(std::istream& in, int descriptor);

// Twenty characters that are told apart by eye, 100 random bits.
std::string MakePassword();

}  // namespace kinora::cli
