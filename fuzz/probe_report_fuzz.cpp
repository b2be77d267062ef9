// Any text in place of the probe's report: read or refused, and then every field is of its kind and in its
// range.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/engine/report.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kinora::engine;
  const auto report = ParseReport({reinterpret_cast<const char*>(data), size});
  if (!report) return 0;
  for (const char* kind : {"video", "audio", "subtitle"}) {
    const Json::Value& track = FirstTrack(*report, kind);
    TextOf(track, "codec");
    FlagOf(track, "default");
    const int64_t width = NumberOf(track, "width", 100);
    if (width < 0 || width > 100) std::abort();
  }
  TextOf(*report, "title");
  return 0;
}
