// CRVN.Kinora2.Preference: what people have chosen for themselves.
#pragma once

#include <optional>

#include "entry/answer.h"
#include "entry/context.h"

namespace kinora::entry {

std::optional<Answer> GetPreferences(Context& context);
// What is not given stays as it is.
std::optional<Answer> SetPreferences(Context& context);

}  // namespace kinora::entry
