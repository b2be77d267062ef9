// CRVN.Kinora2.Film: one video.
#pragma once

#include <optional>

#include "entry/answer.h"
#include "entry/context.h"

namespace kinora::entry {

std::optional<Answer> SendPicture(Context& context);
std::optional<Answer> ListTracks(Context& context);

}  // namespace kinora::entry
