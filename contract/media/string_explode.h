// Text in pieces.
#pragma once

#include <string>
#include <vector>

namespace LibKinora {

// The pieces of the text between the separators, in order: one more than there are separators, each of which
// may be empty. An empty separator parts nothing.
std::vector<std::string> StringExplode(const std::string& text, const std::string& separator);

}  // namespace LibKinora
