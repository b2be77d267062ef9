// Whether a file is a whole piece of a transport stream: a full disk can make ffmpeg leave bytes out and end
// with 0.
#pragma once

#include <string>
#include <string_view>

namespace kinora::helper {

// Packets of 188 bytes that start with 0x47 and two of which, of different streams, are the tables that come
// first; the packets of each stream counted without a gap (ISO/IEC 13818-1, 2.4.3). Empty when all holds,
// else what does not.
std::string FaultOfTransportStream(std::string_view bytes);

}  // namespace kinora::helper
