// A pause that the web API layer provides to the library.
#pragma once

namespace crvnkn {

// Returns when so many milliseconds have passed, and no earlier; a signal does not end it. Visible, so that
// the library finds it in a caller that hides everything else.
__attribute__((visibility("default"))) void SleepMillisecond(unsigned int milliseconds);

}  // namespace crvnkn
