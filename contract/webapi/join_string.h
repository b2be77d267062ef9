// A text helper that the web API layer provides to the library.
#pragma once

#include <string>
#include <vector>

namespace crvnkn {

// The parts with `separator` between neighbours and nothing at either end. No parts give an empty string.
// Does not throw but for want of memory. Visible, so that the library finds it in a caller that hides
// everything else.
__attribute__((visibility("default"))) std::string JoinString(const std::vector<std::string>& parts,
                                                              const std::string& separator);

}  // namespace crvnkn
