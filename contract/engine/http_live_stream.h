// HTTP Live Streaming (RFC 8216).
#pragma once

#include <json/json.h>

#include <string>

#include "contract/engine/adapt_stream.h"

namespace LibCrvnVTE {

class HttpLiveStream : public AdaptStream {
 public:
  // `stream_id` as VTE_Init gave it, or that of a stream that runs.
  explicit HttpLiveStream(const std::string& stream_id);
  HttpLiveStream(const HttpLiveStream&) = default;
  HttpLiveStream& operator=(const HttpLiveStream&) = default;
  ~HttpLiveStream() = default;

  // Plans the whole stream and writes its playlists; no fragment is made yet. With a profile for remuxing the
  // video is copied, else encoded.
  //   stream_url    object with "url" and the query parameters ("api", "method", "_sid", ...) from which
  //                 every address in the playlists is made; "playlist", "fragment" and "id" are added to it,
  //                 and to a fragment's, as the very last, "name" with a value such as "12.ts": ffmpeg and
  //                 the players built on it refuse a fragment whose address ends otherwise
  //   subtitle_url  the same for the subtitle web API; the subtitles that are found now, in the film as text
  //   and
  //                 beside it, are renditions, and the windows of the film in their playlists have addresses
  //                 made from it alone: "subtitle_id", "output_webvtt", "start_time" and "end_time" (whole
  //                 seconds) are replaced, and "name" comes last here too, "12.vtt". Its "subtitle_id", if it
  //                 has one, is that of the default. Without "url" or "id" (the video's) there are no
  //                 renditions
  //   audio_track   VideoMetaData's id of the track to be heard first; empty: the file's first
  //   audio_format  empty: what suits; "ac3_copy": AC-3 goes through unchanged; "aac", "mp3": encoded to it
  //                 unless it is it already
  // false, and nothing is left of the stream, when it is refused: GetErrorString says why.
  bool Init(const Json::Value& stream_url, const Json::Value& subtitle_url, const std::string& audio_track,
            const std::string& audio_format);

  // The absolute path of a playlist; empty when the stream has none of this kind.
  //   playlist_type  "" or "master": the master playlist; "video": the main media playlist; "audio_<id>":
  //   that
  //                  of the audio track <id>, where the tracks are renditions of their own; "subtitle": that
  //                  of the subtitle <subtitle_id>
  //   subtitle_id    one that the master playlist offers; ignored for playlists of other types
  std::string GetMainfest(const std::string& playlist_type, const std::string& subtitle_id) const;
};

}  // namespace LibCrvnVTE
