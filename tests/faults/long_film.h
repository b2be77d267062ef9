// A film that is long enough for its encoder to be at work all the time.
#pragma once

#include <string>

#include "tests/http/house.h"

namespace kinora::test {

inline constexpr char kLongFilm[] = "long.mp4";
// The least of run-ahead: the encoder waits for its viewer.
inline constexpr char kShortRunAhead[] = "run_ahead_seconds=\"10\"\n";

// Puts it into the share, that many times twenty seconds, and waits until it is in the catalog.
void AddLongFilm(const House& house, const SignedIn& who, int times);

// Whether the tests have more time than usual.
bool IsLong();

// A request that is tried again where its connection was held by somebody who died.
Reply Persist(const std::function<Reply()>& request);

}  // namespace kinora::test
