// Names that nobody guesses.
#pragma once

#include <string>

namespace libkn::util {

// `length` characters of `alphabet`, or, when that is empty, of the letters a to z, A to Z and the digits,
// each drawn by itself from the system's randomness. Empty when `length` is less than 1.
std::string RandomString(const std::string& alphabet, int length);

}  // namespace libkn::util
