// Under which name all that has to do with the plug-ins of subtitle providers logs.
#pragma once

namespace crvnkn::webapi::subtitle {

inline constexpr char kPluginLogUnit[] = "subtitle/plugin";

}  // namespace crvnkn::webapi::subtitle
