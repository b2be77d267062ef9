#include "entry/numbers.h"

#include <charconv>

#include "entry/api_errors.h"

namespace kinora::entry {

std::optional<int64_t> ParseNumber(const std::string& text, int64_t largest) {
  if (text.empty() || text[0] < '0' || text[0] > '9' || (text[0] == '0' && text.size() > 1))
    return std::nullopt;
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value > largest) return std::nullopt;
  return value;
}

int64_t NumberParameter(const Request& request, const char* name, int64_t smallest, int64_t largest) {
  const auto value = ParseNumber(request.Get(name), largest);
  if (!value || *value < smallest) {
    throw Error(crvnkn::webapi::kErrorBadParameter, std::string("Bad parameter ") + name);
  }
  return *value;
}

int64_t NumberParameter(const Request& request, const char* name, int64_t smallest, int64_t largest,
                        int64_t otherwise) {
  return request.Get(name).empty() ? otherwise : NumberParameter(request, name, smallest, largest);
}

}  // namespace kinora::entry
