// What parents keep from an account, which has no part in the web API yet.
#pragma once

#include <string>

#include "tests/http/house.h"

namespace kinora::test {

// The account needs the PIN for that film from now on.
void BlockFilm(const SignedIn& who, int film, const std::string& pin);

}  // namespace kinora::test
