// What was asked for when a stream was prepared, as its folder keeps it (request.json):
//
// {"version": 1, "path", "profile_file", "profile_name", "client": texts, "url": object or null,
//  "file_size": bytes, "flag": true or false}
#pragma once

#include <optional>
#include <string>

#include "contract/engine/vte_init_argument.h"
#include "platform/engine/stream_folder.h"

namespace kinora::engine {

inline constexpr char kRequestFile[] = "request.json";

// Throws std::system_error.
void WriteRequest(const StreamFolder& folder, const LibCrvnVTE::VTEInitArgument& argument);

// Nothing, with a line in the log, when there is no record of this version. `type` is the folder's.
std::optional<LibCrvnVTE::VTEInitArgument> ReadRequest(const StreamFolder& folder, const std::string& type);

}  // namespace kinora::engine
