// CRVN.Kinora2.Session: signing in and out.
#pragma once

#include <optional>

#include "entry/answer.h"
#include "entry/context.h"

namespace kinora::entry {

std::optional<Answer> SignIn(Context& context);
std::optional<Answer> SignOut(Context& context);
std::optional<Answer> WhoAmI(Context& context);

}  // namespace kinora::entry
