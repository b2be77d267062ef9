// The parameters of the stream methods. Each is let in by its form alone, so that nothing in it can be taken
// for a path, a program's argument or a header line; what may be a path says so.
#pragma once

#include <string>

#include "entry/request.h"

namespace kinora::entry {

// A name such as "hd_high" or "a2_12": 32 letters, digits and "_" at most; empty where it is missing. Throws
// Error 101, as the others do.
std::string WordParameter(const Request& request, const char* name);

// A fragment's name: a word, or the address of a chunk below its manifest, "QualityLevels(1500000)/
// Fragments(video=0)"; empty where it is missing.
std::string FragmentParameter(const Request& request);

// One or several format names separated by commas; "auto" where the parameter is missing.
std::string FormatsParameter(const Request& request);

// The number of a track of the file; empty where it is missing.
std::string TrackParameter(const Request& request, const char* name);

// The number of a track, or "DLNA"; empty where it is missing.
std::string SubtitleParameter(const Request& request);

// The same of an open stream, and, for the playlist of a subtitle, the absolute path of a file: nobody opens
// it, it is looked for among those that the stream offers.
std::string OfferedSubtitleParameter(const Request& request);

}  // namespace kinora::entry
