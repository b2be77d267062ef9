// Bringing a decoded picture into the shape in which it is shown.
#pragma once

#include "helpers/common/handles.h"

namespace kinora::helper {

struct Shape {
  int width = 0;
  int height = 0;
  bool operator==(const Shape&) const = default;
};

// The shape of a picture `width` pixels wide that shows a coded picture of the size, the sample aspect ratio
// (0/1 when unknown) and the clockwise rotation. Even; never higher than four times its width.
Shape ShapeOf(Shape coded, AVRational sample_aspect, int rotation, int width);

// One plane of bytes turned clockwise by 0, 90, 180 or 270 degrees; `from` is the shape before.
void TurnPlane(const uint8_t* source, int source_stride, Shape from, int rotation, uint8_t* target,
               int target_stride);

// The picture upright, with square pixels, 8 bits, full range, `width` pixels wide. Null when its pixel
// format cannot be converted.
Frame Scale(const AVFrame& picture, AVRational sample_aspect, int rotation, int width);

}  // namespace kinora::helper
