#include "helpers/picture/choice.h"

#include <algorithm>
#include <utility>

#include "helpers/common/exit_codes.h"
#include "helpers/picture/scale.h"

namespace kinora::helper {
namespace {

constexpr int64_t kLatestFirstLook = 180'000;
constexpr int kFurtherLooks = 7;
constexpr uint8_t kBlack = 40;  // luma in full range
constexpr double kLitEnough = 0.05;

Frame Look(Film& film, int64_t place, int width) {
  Frame picture = film.PictureAt(place);
  if (!picture) return nullptr;
  return Scale(*picture, film.SampleAspect(picture.get()), RotationOf(film.Track()), width);
}

}  // namespace

std::vector<int64_t> PlacesToLook(int64_t duration_ms) {
  std::vector<int64_t> places;
  const int64_t first = std::min(duration_ms / 10, kLatestFirstLook);
  for (int i = 0; i <= kFurtherLooks && first > 0; ++i) places.push_back(first + first * i / 2);
  places.push_back(0);
  return places;
}

double LitShare(const AVFrame& picture) {
  int64_t lit = 0;
  for (int y = 0; y < picture.height; ++y) {
    const uint8_t* row = picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0];
    lit += std::count_if(row, row + picture.width, [](uint8_t luma) { return luma > kBlack; });
  }
  const int64_t all = int64_t{picture.width} * picture.height;
  return all == 0 ? 0 : static_cast<double>(lit) / static_cast<double>(all);
}

Frame ChoosePicture(Film& film, int width) {
  if (!film.IsUsable()) throw Failure(kNoMedia, "no picture in it that can be decoded");
  Frame best;
  double best_share = -1;
  for (const int64_t place : film.IsCover() ? std::vector<int64_t>{0} : PlacesToLook(film.DurationMs())) {
    Frame picture = Look(film, place, width);
    if (!picture) continue;
    const double share = LitShare(*picture);
    if (share > best_share) {
      best = std::move(picture);
      best_share = share;
    }
    if (best_share >= kLitEnough) break;
  }
  if (best) return best;
  if (film.FallBackToCover()) return ChoosePicture(film, width);
  throw Failure(kNoMedia, "no picture in it that can be decoded");
}

}  // namespace kinora::helper
