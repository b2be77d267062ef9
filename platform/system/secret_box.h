// Secrets that are stored, and needed in clear again on this machine.
#pragma once

#include <optional>
#include <string>

namespace kinora::system {

// Printable text that this machine alone can decrypt, a different one each time; the machine's key is made
// when there is none. Nothing, with a line in the log, when there can be no key.
std::optional<std::string> EncryptSecret(const std::string& clear);

// Nothing, with a line in the log that tells nothing of it, when the text is no such one, was changed, or is
// of another machine.
std::optional<std::string> DecryptSecret(const std::string& encrypted);

}  // namespace kinora::system
