// Smooth Streaming: a manifest that lists every chunk of the film, and chunks as fragmented MP4.
#pragma once

#include <json/json.h>

#include <string>

#include "contract/engine/adapt_stream.h"

namespace LibCrvnVTE {

// A fragment's id is the address of a chunk below the manifest, in the form
// "QualityLevels(<bits per second>)/Fragments(<track>=<start time>)": one of the manifest's levels, "video"
// or the name of one of its audio tracks, and the time at which the manifest lets one of that track's chunks
// start, in units of 100 ns. A time within a chunk names no fragment.
class SmoothStream : public AdaptStream {
 public:
  // `stream_id` as VTE_Init gave it, or that of a stream that runs.
  explicit SmoothStream(const std::string& stream_id);
  SmoothStream(const SmoothStream&) = default;
  SmoothStream& operator=(const SmoothStream&) = default;
  ~SmoothStream() = default;

  // Plans the whole stream and writes its manifest; no fragment is made yet. Picture and sound are encoded,
  // to H.264 and AAC.
  //   stream_url    object with "url" and the query parameters of the stream API. Nothing of it stands in the
  //                 manifest, whose addresses are relative to the path that it is asked for under
  //   reserved      null
  //   audio_track   VideoMetaData's id of the track to be heard first; empty: the file's first
  //   audio_format  empty
  // false, and nothing is left of the stream, when it is refused: GetErrorString says why.
  bool Init(const Json::Value& stream_url, const Json::Value& reserved, const std::string& audio_track,
            const std::string& audio_format);

  // The absolute path of the manifest; empty when the stream has none.
  std::string GetMainfest() const;
};

}  // namespace LibCrvnVTE
