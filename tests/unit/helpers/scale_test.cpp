#include "helpers/picture/scale.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kinora::helper {

void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.width << "x" << shape.height; }

namespace {

TEST(ShapeOf, IsUprightEvenAndHasSquarePixels) {
  const struct {
    Shape coded;
    AVRational sample_aspect;
    int rotation;
    int width;
    Shape shape;
  } cases[] = {
      {{1280, 720}, {1, 1}, 0, 320, {320, 180}},
      {{1280, 720}, {0, 1}, 0, 320, {320, 180}},
      {{1280, 720}, {-1, 0}, 0, 320, {320, 180}},
      {{1280, 720}, {1, 1}, 180, 320, {320, 180}},
      {{1280, 720}, {1, 1}, 90, 320, {320, 568}},
      {{1280, 720}, {1, 1}, 270, 320, {320, 568}},
      {{720, 576}, {64, 45}, 0, 320, {320, 180}},
      {{720, 576}, {16, 15}, 0, 320, {320, 240}},
      {{720, 576}, {64, 45}, 90, 180, {180, 320}},
      {{317, 239}, {1, 1}, 0, 320, {320, 242}},
      {{320, 240}, {1, 1}, 0, 321, {320, 240}},
      {{160, 90}, {1, 1}, 0, 640, {640, 360}},
      {{8192, 2}, {1, 1}, 0, 320, {320, 2}},
      {{2, 8192}, {1, 1}, 0, 320, {320, 1280}},
      {{8192, 4608}, {2147483647, 1}, 0, 320, {320, 2}},
      {{8192, 4608}, {1, 2147483647}, 0, 320, {320, 1280}},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(ShapeOf(row.coded, row.sample_aspect, row.rotation, row.width), row.shape)
        << row.coded.width << "x" << row.coded.height << " turned by " << row.rotation;
  }
}

//  abc   da   fed   cf
//  def   eb   cba   be
//        fc         ad
TEST(TurnPlane, TurnsClockwise) {
  const struct {
    int rotation;
    int width;
    const char* turned;
  } cases[] = {{0, 3, "abcdef"}, {90, 2, "daebfc"}, {180, 3, "fedcba"}, {270, 2, "cfbead"}};
  const std::string source = "abcdef";
  for (const auto& row : cases) {
    std::string turned(6, '?');
    TurnPlane(reinterpret_cast<const uint8_t*>(source.data()), 3, {3, 2}, row.rotation,
              reinterpret_cast<uint8_t*>(turned.data()), row.width);
    EXPECT_EQ(turned, row.turned) << row.rotation;
  }
}

}  // namespace
}  // namespace kinora::helper
