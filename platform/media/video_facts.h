// What a look into a file tells about it: enough to list it and to decide how to play it.
#pragma once

#include <cstdint>
#include <string>

namespace kinora::media {

struct VideoFacts {
  std::string title;  // from the file's tags; empty when there is none
  std::string container;
  std::string video_codec;
  std::string audio_codec;  // of the first audio track
  int64_t duration_ms = 0;
  int width = 0;
  int height = 0;
  int64_t bitrate = 0;
};

struct LookResult {
  enum class Kind {
    kVideo,       // facts hold
    kNotAVideo,   // readable, but no film: a playlist in disguise, a song, a text
    kUnreadable,  // could not be opened or understood; trying again later may help
  };
  Kind kind = Kind::kUnreadable;
  VideoFacts facts;
  std::string reason;  // for the log and for people, when it is no video
};

}  // namespace kinora::media
