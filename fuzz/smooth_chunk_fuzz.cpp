// Any bytes as a fragment: a chunk with exactly what was ordered, or a failure with the documented code. The
// first byte tells whether it is to be pictures or sound.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"
#include "helpers/remux/smooth_chunk.h"

extern "C" {
#include <libavutil/log.h>
}

namespace {

// An anonymous file that is used again and again.
int FileWith(const uint8_t* data, size_t size) {
  static const int file = ::memfd_create("fragment", MFD_CLOEXEC);
  if (file < 0 || ::ftruncate(file, 0) != 0) std::abort();
  if (::pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
  return file;
}

void Require(bool holds) {
  if (!holds) std::abort();
}

size_t NumberAt(const std::string& bytes, size_t place) {
  size_t number = 0;
  for (size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<uint8_t>(bytes.at(place + i));
  return number;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kinora;
  av_log_set_level(AV_LOG_QUIET);
  if (size == 0) return 0;
  static const helper::ChunkOrder kPictures =
      helper::OrderFrom({"1", "0", "2", "1/25", "0000000167640000000168EB"});
  static const helper::ChunkOrder kSound = helper::OrderFrom({"1", "0", "2", "8/375", "-"});
  try {
    const std::string chunk =
        helper::MakeChunk(FileWith(data + 1, size - 1), data[0] % 2 == 0 ? kPictures : kSound);
    const size_t moof = NumberAt(chunk, 0);
    Require(moof + NumberAt(chunk, moof) == chunk.size());
  } catch (const helper::Failure& failure) {
    Require(failure.Code() == helper::kUnreadable);
  } catch (const std::bad_alloc&) {
  }
  return 0;
}
