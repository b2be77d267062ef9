// Finding out why a stream could not be served.
#pragma once

#include <string>

#include "entry/failed_stream.h"

namespace kinora::entry {

// Of a stream that goes out as it is; `record` is the file that holds the source's path.
StreamFaults FindRawFaults(const std::string& record);

}  // namespace kinora::entry
