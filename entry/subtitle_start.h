// A viewer who opens a stream with a subtitle of the film will ask for its text in a moment.
#pragma once

#include "library/vte/open_argument.h"

namespace kinora::entry {

// Begins to take the chosen track out of the film, in a process of its own: whoever opens the stream waits
// for a fork and no longer. Nothing happens for other subtitles; what goes wrong, the first request for the
// text will find out by itself.
void StartChosenSubtitle(const crvnkn::webapi::vte::OpenArgument& argument);

}  // namespace kinora::entry
