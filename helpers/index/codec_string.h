// What players want to know of a video before they fetch it.
#pragma once

#include <string>
#include <string_view>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace kinora::helper {

// The codec as RFC 6381 names it, "avc1.64001f" or "hvc1.1.6.L93.b0", from its configuration record or
// from parameter sets with start codes. Empty when it cannot be told.
std::string CodecString(AVCodecID codec, std::string_view extradata);

}  // namespace kinora::helper
