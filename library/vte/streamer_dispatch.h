// From a request's stream id and format to the object that serves or closes the stream.
#pragma once

#include <memory>
#include <string>

#include "library/export.h"
#include "library/vte/streamer.h"

namespace crvnkn::webapi::vte {

// A streamer for the format, compared without regard to case; none when the format is unknown. The stream
// itself need not exist: its streamer then fails to serve.
KINORA_EXPORT std::unique_ptr<Streamer> GetStreamerAPI(const std::string& stream_id,
                                                       const std::string& format);

// Closes the stream. false, with a line in the log, when a parameter is empty or the format is unknown;
// otherwise what Streamer::Close gives, which is true for a stream that is gone already.
KINORA_EXPORT bool CloseHandler(const std::string& stream_id, const std::string& format);

}  // namespace crvnkn::webapi::vte
