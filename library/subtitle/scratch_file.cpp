#include "library/subtitle/scratch_file.h"

#include <unistd.h>

#include "contract/system/random_string.h"

namespace crvnkn::webapi::subtitle {

ScratchFile::ScratchFile(const std::string& prefix, const std::string& extension)
    : path_("/tmp/CRVNVIDEO_" + prefix + "_" + libkn::util::RandomString("", 8) + "." +
            (extension.empty() ? "srt" : extension)) {}

ScratchFile::~ScratchFile() { ::unlink(path_.c_str()); }

}  // namespace crvnkn::webapi::subtitle
