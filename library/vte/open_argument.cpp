#include "library/vte/open_argument.h"

#include "contract/webapi/error.h"
#include "library/video.h"

namespace crvnkn::webapi::vte {

OpenArgument::OpenArgument() = default;
OpenArgument::~OpenArgument() = default;

void OpenArgument::CheckFilePath() {
  if (!file_path.empty()) return;
  if (id < 1) throw Error(kErrorBadParameter, "Bad parameter");
  file_path = GetFilePathByID(id);
  if (file_path.empty()) {
    throw Error(kErrorStreamSetup, "Failed to get path from video id [" + std::to_string(id) + "]");
  }
}

}  // namespace crvnkn::webapi::vte
