#include "contract/system/error_state.h"

#include <string>

#include "platform/base/log.h"

namespace {

unsigned int last_error = 0;

}  // namespace

unsigned int HLIBCErrGet() { return last_error; }

void HLIBCErrSetEx(unsigned int code, const char* file, int line, int /*flags*/) {
  last_error = code;
  kinora::base::Log(
      LOG_DEBUG, "system/error_state",
      "error " + std::to_string(code) + " at " + (file == nullptr ? "" : file) + ":" + std::to_string(line));
}
