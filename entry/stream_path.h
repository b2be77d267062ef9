// The address of a stream as a path, for players that make the addresses of chunks from that of the manifest:
//
//   /ss/<session>/<stream>/Manifest
//   /ss/<session>/<stream>/QualityLevels(1500000)/Fragments(video=0)
//
// behind the program's name is the same as a call of CRVN.Kinora2.Stream.stream with the parameters "_sid",
// "id" and, for a chunk, "fragment". "-" in the session's place leaves "_sid" out: the cookie tells who asks,
// for a page that does not know its session's id.
#pragma once

#include <optional>
#include <string_view>

#include "entry/form.h"

namespace kinora::entry {

// The parameters that the path stands for; nothing for any other path. It is decoded already, as CGI has it.
// What is in them has been looked at no more than if it had stood in a query. Throws Malformed for what is
// longer than a parameter may be.
std::optional<Form> ParametersOfPath(std::string_view path);

}  // namespace kinora::entry
