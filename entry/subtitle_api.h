// CRVN.Kinora2.Subtitle: which subtitles a film has, and their text.
#pragma once

#include <optional>

#include "entry/answer.h"
#include "entry/context.h"

namespace kinora::entry {

std::optional<Answer> ListSubtitles(Context& context);
std::optional<Answer> SendSubtitle(Context& context);
std::optional<Answer> ListCharsets(Context& context);

}  // namespace kinora::entry
