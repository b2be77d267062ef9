// From the parameters of a request to what the library is asked for a subtitle.
#pragma once

#include "entry/context.h"
#include "library/subtitle/method_arguments.h"

namespace kinora::entry {

// All but the video's path. `subtitle_id` is of its form then: the number of a track, "DLNA", or an absolute
// path that nobody has looked at yet. Who asks is the session's account, whatever the parameter "uid" says. A
// charset can be chosen for files only. Throws Error 101 for a parameter that is not of its form.
crvnkn::webapi::subtitle::GetMethodArguments MakeSubtitleArguments(const Context& context);

}  // namespace kinora::entry
