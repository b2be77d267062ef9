#include "contract/media/string_explode.h"

namespace LibKinora {

std::vector<std::string> StringExplode(const std::string& text, const std::string& separator) {
  std::vector<std::string> pieces;
  size_t begin = 0;
  if (!separator.empty()) {
    for (size_t end = 0; (end = text.find(separator, begin)) != std::string::npos;
         begin = end + separator.size())
      pieces.push_back(text.substr(begin, end - begin));
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

}  // namespace LibKinora
