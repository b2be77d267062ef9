// Text in pieces. Not recorded: it decides nothing.
#include "contract/media/string_explode.h"

namespace LibKinora {

std::vector<std::string> StringExplode(const std::string& text, const std::string& separator) {
  std::vector<std::string> pieces(1);
  for (size_t i = 0; i < text.size();) {
    if (!separator.empty() && text.compare(i, separator.size(), separator) == 0) {
      pieces.emplace_back();
      i += separator.size();
    } else {
      pieces.back() += text[i++];
    }
  }
  return pieces;
}

}  // namespace LibKinora
