// Under which name all of the delivery of subtitles logs.
#pragma once

namespace crvnkn::webapi::subtitle {

inline constexpr char kLogUnit[] = "subtitle/cached";

}  // namespace crvnkn::webapi::subtitle
