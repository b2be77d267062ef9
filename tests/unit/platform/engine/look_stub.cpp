// look_stub PATH: what the engine sees in a file, one line: the kind, then the reason or the codec.
#include <cstdio>

#include "platform/engine/look.h"

int main(int count, char** arguments) {
  if (count != 2) return 64;
  const kinora::media::LookResult result = kinora::engine::LookAt(arguments[1]);
  const char* const kinds[] = {"video", "not a video", "unreadable"};
  std::printf("%s: %s\n", kinds[static_cast<int>(result.kind)],
              result.reason.empty() ? result.facts.video_codec.c_str() : result.reason.c_str());
  return 0;
}
