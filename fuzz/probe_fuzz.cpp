// The probe over any bytes: a report that can be read back, or a failure with one of the documented codes.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "helpers/common/exit_codes.h"
#include "helpers/probe/report.h"
#include "platform/base/text.h"

extern "C" {
#include <libavutil/log.h>
}

namespace {

// An anonymous file that is used again and again.
int FileWith(const uint8_t* data, size_t size) {
  static const int file = ::memfd_create("film", MFD_CLOEXEC);
  if (file < 0 || ::ftruncate(file, 0) != 0) std::abort();
  if (::pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
  return file;
}

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kinora;
  av_log_set_level(AV_LOG_QUIET);
  try {
    const helper::MediaInput input(FileWith(data, size));
    const std::string text = Json::writeString(Json::StreamWriterBuilder(), helper::MakeReport(input));
    Require(base::IsUtf8(text));
  } catch (const helper::Failure& failure) {
    Require(failure.Code() == helper::kNoMedia || failure.Code() == helper::kUnreadable);
  } catch (const std::bad_alloc&) {
  }
  return 0;
}
