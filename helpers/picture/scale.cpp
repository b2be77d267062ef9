#include "helpers/picture/scale.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

extern "C" {
#include <libswscale/swscale.h>
}

namespace kinora::helper {
namespace {

constexpr int kHighestShape = 4;
constexpr int kHighDefinition = 720;

struct ScalerDeleter {
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerDeleter>;

Frame MakeFrame(Shape shape) {
  Frame frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  frame->format = AV_PIX_FMT_YUVJ420P;
  frame->color_range = AVCOL_RANGE_JPEG;
  frame->width = shape.width;
  frame->height = shape.height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

bool IsSideways(int rotation) { return rotation == 90 || rotation == 270; }

int EvenNearest(int64_t numerator, int64_t denominator) {
  return static_cast<int>((numerator + denominator) / (2 * denominator) * 2);
}

// JPEG has one matrix, films have several. Where a film does not say, players go by its height.
void SetColours(SwsContext* scaler, const AVFrame& picture) {
  int space = picture.colorspace;
  if (space == AVCOL_SPC_UNSPECIFIED) {
    space = picture.height >= kHighDefinition ? SWS_CS_ITU709 : SWS_CS_ITU601;
  }
  const bool full = picture.color_range == AVCOL_RANGE_JPEG || picture.format == AV_PIX_FMT_YUVJ420P ||
                    picture.format == AV_PIX_FMT_YUVJ422P || picture.format == AV_PIX_FMT_YUVJ444P;
  sws_setColorspaceDetails(scaler, sws_getCoefficients(space), full ? 1 : 0,
                           sws_getCoefficients(SWS_CS_ITU601), 1, 0, 1 << 16, 1 << 16);
}

Frame Turn(const AVFrame& picture, int rotation) {
  const Shape from{picture.width, picture.height};
  Frame turned = MakeFrame(IsSideways(rotation) ? Shape{from.height, from.width} : from);
  for (int plane = 0; plane < 3; ++plane) {
    const Shape part = plane == 0 ? from : Shape{from.width / 2, from.height / 2};
    TurnPlane(picture.data[plane], picture.linesize[plane], part, rotation, turned->data[plane],
              turned->linesize[plane]);
  }
  return turned;
}

}  // namespace

Shape ShapeOf(Shape coded, AVRational sample_aspect, int rotation, int width) {
  if (sample_aspect.num <= 0 || sample_aspect.den <= 0) sample_aspect = {1, 1};
  // Reduced first, so that the products below fit whatever the file says.
  AVRational aspect{1, 1};
  av_reduce(&aspect.num, &aspect.den, int64_t{coded.width} * sample_aspect.num,
            int64_t{coded.height} * sample_aspect.den, 1 << 20);
  if (aspect.num <= 0) aspect = {1, 1 << 20};
  if (aspect.den <= 0) aspect = {1 << 20, 1};
  if (IsSideways(rotation)) std::swap(aspect.num, aspect.den);
  const int even_width = std::max(width / 2 * 2, 2);
  const int64_t height = EvenNearest(
      std::min(int64_t{even_width} * aspect.den, int64_t{even_width} * kHighestShape * aspect.num),
      aspect.num);
  return {even_width, static_cast<int>(std::max<int64_t>(height, 2))};
}

void TurnPlane(const uint8_t* source, int source_stride, Shape from, int rotation, uint8_t* target,
               int target_stride) {
  for (int y = 0; y < from.height; ++y) {
    for (int x = 0; x < from.width; ++x) {
      int to_x = x;
      int to_y = y;
      if (rotation == 90) {
        to_x = from.height - 1 - y;
        to_y = x;
      } else if (rotation == 180) {
        to_x = from.width - 1 - x;
        to_y = from.height - 1 - y;
      } else if (rotation == 270) {
        to_x = y;
        to_y = from.width - 1 - x;
      }
      target[std::ptrdiff_t{to_y} * target_stride + to_x] = source[std::ptrdiff_t{y} * source_stride + x];
    }
  }
}

Frame Scale(const AVFrame& picture, AVRational sample_aspect, int rotation, int width) {
  const Shape upright = ShapeOf({picture.width, picture.height}, sample_aspect, rotation, width);
  const Shape lying = IsSideways(rotation) ? Shape{upright.height, upright.width} : upright;
  const Scaler scaler(sws_getContext(picture.width, picture.height,
                                     static_cast<AVPixelFormat>(picture.format), lying.width, lying.height,
                                     AV_PIX_FMT_YUVJ420P, SWS_BICUBIC, nullptr, nullptr, nullptr));
  if (!scaler) return nullptr;
  SetColours(scaler.get(), picture);
  Frame scaled = MakeFrame(lying);
  if (sws_scale(scaler.get(), picture.data, picture.linesize, 0, picture.height, scaled->data,
                scaled->linesize) <= 0) {
    return nullptr;
  }
  return rotation == 0 ? std::move(scaled) : Turn(*scaled, rotation);
}

}  // namespace kinora::helper
