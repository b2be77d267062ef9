// CRVN.Kinora2.Stream: opening, serving and closing streams.
#pragma once

#include <optional>

#include "entry/answer.h"
#include "entry/context.h"
#include "library/vte/open_argument.h"

namespace kinora::entry {

std::optional<Answer> OpenStream(Context& context);
std::optional<Answer> SendStream(Context& context);
std::optional<Answer> CloseStream(Context& context);

// What the library needs to open the stream, from the request's parameters. Throws Error 101 for a parameter
// that is not of its form.
crvnkn::webapi::vte::OpenArgument MakeOpenArgument(const Context& context);

}  // namespace kinora::entry
