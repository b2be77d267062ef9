// What ffmpeg is told about the film it reads, which is its descriptor 3.
#pragma once

#include <iterator>
#include <string>
#include <vector>

#include "platform/engine/stream_plan.h"

namespace kinora::engine {

using Arguments = std::vector<std::string>;

inline void Append(Arguments& to, Arguments more) {
  to.insert(to.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

// Seconds, rounded to microseconds, ffmpeg's own unit.
std::string Decimal(const MediaTime& seconds);
std::string Fraction(const MediaTime& value);

// How far ahead of the first picture that counts reading has to begin. A transport or program stream has no
// index to find a key frame by.
MediaTime PreRoll(const std::string& container);

// The input, read from the key frame before `from` on; times are the film's own. Throws std::invalid_argument
// for a container that nothing is read from.
Arguments Source(const SourceTraits& source, const MediaTime& from);

}  // namespace kinora::engine
