// JPEG.
#pragma once

#include <string>

#include "helpers/common/handles.h"

namespace kinora::helper {

// `picture` is 8-bit 4:2:0 in full range. Throws Failure.
std::string EncodeJpeg(const AVFrame& picture);

}  // namespace kinora::helper
