// Whose stream it is: the file "owner" in a stream's folder, holding the account's id in decimal.
#pragma once

#include <optional>
#include <string>

namespace kinora::entry {

// Whether the text has the form of a stream id, so that it can stand in a path: letters and digits only.
bool IsStreamId(const std::string& id);

// The folder of a stream in the workspace; `type` is "RAW", "HLS", "SS" or "WEBM".
std::string StreamFolder(const std::string& type, const std::string& id);

// Throws std::system_error when it cannot be written.
void RecordOwner(const std::string& folder, int account);

// Nothing when there is no such stream, or it has no owner that can be read.
std::optional<int> OwnerOf(const std::string& folder);

}  // namespace kinora::entry
