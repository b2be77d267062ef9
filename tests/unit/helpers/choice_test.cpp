#include "helpers/picture/choice.h"

#include <gmock/gmock.h>

namespace kinora::helper {
namespace {

using testing::ElementsAre;

TEST(PlacesToLook, StartALittleWayInAndEndAtTheBeginning) {
  EXPECT_THAT(PlacesToLook(100'000),
              ElementsAre(10'000, 15'000, 20'000, 25'000, 30'000, 35'000, 40'000, 45'000, 0));
}

TEST(PlacesToLook, AreWithinTheFirstMinutesOfALongFilm) {
  EXPECT_EQ(PlacesToLook(4 * 3'600'000).at(0), 180'000);
}

TEST(PlacesToLook, AreTheBeginningWhenTheDurationIsUnknown) { EXPECT_THAT(PlacesToLook(0), ElementsAre(0)); }

TEST(LitShare, CountsWhatIsMoreThanBlack) {
  uint8_t luma[] = {0, 255, 99, 40, 41, 99};
  AVFrame picture{};
  picture.data[0] = luma;
  picture.linesize[0] = 3;
  picture.width = 2;
  picture.height = 2;
  EXPECT_DOUBLE_EQ(LitShare(picture), 0.5);
}

}  // namespace
}  // namespace kinora::helper
