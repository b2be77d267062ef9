// CRVN.Kinora2.Stream: opening, serving and closing streams.
#pragma once

#include <optional>

#include "entry/answer.h"
#include "entry/context.h"

namespace kinora::entry {

std::optional<Answer> OpenStream(Context& context);
std::optional<Answer> SendStream(Context& context);
std::optional<Answer> CloseStream(Context& context);

}  // namespace kinora::entry
