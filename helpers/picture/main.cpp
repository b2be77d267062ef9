// kinora-picture WIDTH: takes a picture of the film that is open as descriptor 3 and writes it to standard
// output as JPEG, WIDTH pixels wide (16 to 4096; an odd number is made even). Opens nothing, ends as
// exit_codes.h says.
//
// The picture is upright, has square pixels and is taken a little way in, where it is not nearly black. HDR
// is converted plainly, without tone mapping. A film track that cannot be decoded gives way to an attached
// cover.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>

#include "helpers/common/answer.h"
#include "helpers/common/exit_codes.h"
#include "helpers/picture/choice.h"
#include "helpers/picture/jpeg.h"

namespace {

constexpr int kNarrowest = 16;
constexpr int kWidest = 4096;

std::optional<int> WidthFrom(const char* text) {
  int width = 0;
  const char* end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, width);
  if (error != std::errc() || stop != end || width < kNarrowest || width > kWidest) return std::nullopt;
  return width;
}

std::string TakePicture(int width) {
  const kinora::helper::MediaInput input(kinora::helper::kMediaDescriptor);
  kinora::helper::Film film(input);
  return kinora::helper::EncodeJpeg(*kinora::helper::ChoosePicture(film, width));
}

}  // namespace

int main(int count, char** arguments) {
  const std::optional<int> width = count == 2 ? WidthFrom(arguments[1]) : std::nullopt;
  if (!width) {
    std::fputs("usage: kinora-picture WIDTH 3<FILE >PICTURE\n", stderr);
    return kinora::helper::kUsage;
  }
  return kinora::helper::Answer([width] { return TakePicture(*width); });
}
