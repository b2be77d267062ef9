// Which film a request names, and whether who asks may watch it.
#pragma once

#include <string>

#include "entry/context.h"

namespace kinora::entry {

// The parameter "id". Throws Error 101.
int FilmParameter(const Request& request);

// The absolute path of the film of that id, which the caller may watch, perhaps by the parameter "pin".
// Throws Error 1101, 1400, 1401.
std::string PathOfAllowedFilm(const Context& context, int id);

}  // namespace kinora::entry
