#include "entry/flags.h"

#include "entry/api_errors.h"

namespace kinora::entry {

bool FlagParameter(const Request& request, const char* name, bool otherwise) {
  const std::string& text = request.Get(name);
  if (text.empty()) return otherwise;
  if (text == "true" || text == "1") return true;
  if (text == "false" || text == "0") return false;
  throw Error(crvnkn::webapi::kErrorBadParameter, std::string("Bad parameter ") + name);
}

}  // namespace kinora::entry
