#include "helpers/common/answer.h"

#include <unistd.h>

#include <cstdio>
#include <new>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"
#include "helpers/common/rights.h"
#include "helpers/common/write_all.h"

extern "C" {
#include <libavutil/log.h>
}

namespace kinora::helper {
namespace {

int Fail(int code, const char* reason) {
  std::fprintf(stderr, "%s\n", reason);
  return code;
}

}  // namespace

int Answer(const std::function<std::string()>& work, uint64_t file_size, uint64_t seconds) {
  av_log_set_level(AV_LOG_QUIET);  // one line of our own says why; the libraries' texts come from the file
  const std::string trouble = GiveUpRights(file_size, seconds);
  if (!trouble.empty()) return Fail(kNoPower, trouble.c_str());
  try {
    return WriteAll(STDOUT_FILENO, work()) ? kDone : Fail(kNoOutput, "the answer cannot be written");
  } catch (const Failure& failure) {
    return Fail(failure.Code(), failure.what());
  } catch (const std::bad_alloc&) {
    return Fail(kUnreadable, "asks for more memory than is given");
  }
}

}  // namespace kinora::helper
