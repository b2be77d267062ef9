// What the index helper says of a film: whatever it is, the plan made of it keeps its promises.
#include <cstdlib>

#include "platform/engine/film_cuts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const auto film = kinora::engine::ParseFilmCuts({reinterpret_cast<const char*>(bytes), size});
  if (!film || !film->indexed || !film->trouble.empty()) return 0;
  if (film->cuts.size() < 2 || film->cuts.front() != 0) std::abort();
  for (size_t i = 1; i < film->cuts.size(); ++i) {
    if (film->cuts[i] <= film->cuts[i - 1]) std::abort();
  }
  return 0;
}
