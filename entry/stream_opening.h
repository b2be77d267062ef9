// From a request to an open stream.
#pragma once

#include "entry/api_errors.h"
#include "entry/context.h"
#include "library/vte/open_argument.h"
#include "library/vte/stream_initer.h"

namespace kinora::entry {

// What the library needs to open the stream, from the request's parameters. Throws Error 101 for a parameter
// that is not of its form.
crvnkn::webapi::vte::OpenArgument MakeOpenArgument(const Context& context);

// Opens the stream; the result bears its id and format. "auto" means whatever plays: where the rules' ways
// all fail by the file, it is encoded. Throws Error, that of the last way tried.
crvnkn::webapi::vte::StreamIniter OpenInFormat(const crvnkn::webapi::vte::OpenArgument& argument);

// Whether a film that was refused with this code by a way that copies may still be encoded: the file is not
// fit to be copied. What the settings or the machine refuse, they refuse for encoding all the more.
bool EncodingMayHelp(ErrorCode refusal);

}  // namespace kinora::entry
