// Whether a player may start at a key packet.
#pragma once

#include <string_view>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace kinora::helper {

enum class KeyPicture {
  kClean,  // nothing behind it refers to anything before it (IDR)
  kOpen,   // a picture that others behind it may reach across: recovery points, CRA, BLA
  kNone,   // no key picture, or none that can be made out
};

// `packet` holds one picture of H.264 or HEVC, or its first part; its units are behind lengths where
// `extradata` is a configuration record, behind start codes otherwise.
KeyPicture KindOfKey(AVCodecID codec, std::string_view extradata, std::string_view packet);

}  // namespace kinora::helper
