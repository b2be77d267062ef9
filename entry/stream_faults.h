// Finding out why a stream could not be served.
#pragma once

#include <cstdint>
#include <string>

#include "entry/failed_stream.h"
#include "platform/system/settings.h"

namespace kinora::entry {

// Of a stream that goes out as it is; `record` is the file that holds the source's path.
StreamFaults FindRawFaults(const std::string& record);

// Of a stream of `type` ("HLS" or "SS") that goes out in fragments; `fragment` is the one that was asked for,
// empty for a playlist or manifest.
StreamFaults FindAdaptiveFaults(const std::string& type, const std::string& stream_id,
                                const std::string& fragment, const system::Settings& settings);

// Of a live stream that was to start `seek` seconds into the film.
StreamFaults FindLiveFaults(const std::string& stream_id, int64_t seek, const system::Settings& settings);

}  // namespace kinora::entry
