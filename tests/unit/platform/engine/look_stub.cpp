// look_stub PATH: what the engine sees in a file, one line: the kind, then the reason or the codec.
// look_stub PATH subtitles: one line of JSON, what is known of its subtitles; null where the file is not
// known.
#include <cstdio>
#include <cstring>

#include "contract/engine/video_metadata.h"
#include "platform/engine/look.h"

namespace {

int ListSubtitles(const char* path) {
  LibCrvnVTE::VideoMetaData metadata;
  Json::Value subtitles;
  if (metadata.LoadFile(path)) metadata.GetSubtitleTrackInfo(subtitles);
  Json::StreamWriterBuilder compact;
  compact["indentation"] = "";
  std::printf("%s\n", Json::writeString(compact, subtitles).c_str());
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 3 && std::strcmp(arguments[2], "subtitles") == 0) return ListSubtitles(arguments[1]);
  if (count != 2) return 64;
  const kinora::media::LookResult result = kinora::engine::LookAt(arguments[1]);
  const char* const kinds[] = {"video", "not a video", "unreadable"};
  std::printf("%s: %s\n", kinds[static_cast<int>(result.kind)],
              result.reason.empty() ? result.facts.video_codec.c_str() : result.reason.c_str());
  return 0;
}
