// A film as WebM, live: from where it is wanted to its end.
#pragma once

#include <string>

#include "contract/engine/direct_stream.h"

namespace LibCrvnVTE {

class WebMStream : public DirectStream {
 public:
  // `stream_id` as VTE_Init gave it, or that of a stream that runs.
  explicit WebMStream(const std::string& stream_id);
  WebMStream(const WebMStream&) = default;
  WebMStream& operator=(const WebMStream&) = default;
  ~WebMStream() = default;

  // Plans the stream: the video is copied where WebM takes its codec, else encoded within the profile, and so
  // is the audio track `audio_track` (VideoMetaData's id; empty: the file's first), or nothing where the film
  // has no sound. Nothing is started yet. false, and nothing is left of the stream, when it is refused:
  // GetErrorString says why.
  bool Init(const std::string& audio_track);

  // Starts the body at `seek_time` seconds into the film, or, where the video is copied, at the key frame
  // before. All times in it are the film's own, so that a player knows where it is. `ffmpeg_path` is
  // absolute. false, with a line in the system log: there is no such stream, the source is gone or has been
  // replaced, the time lies behind its end, the machine is full of jobs, or nothing came out of the encoder.
  bool Transcoding(const std::string& ffmpeg_path, int seek_time);
};

}  // namespace LibCrvnVTE
