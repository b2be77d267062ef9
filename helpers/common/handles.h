// libav's objects with an owner.
#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

namespace kinora::helper {

struct FrameDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct CodecDeleter {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;
using Codec = std::unique_ptr<AVCodecContext, CodecDeleter>;

}  // namespace kinora::helper
