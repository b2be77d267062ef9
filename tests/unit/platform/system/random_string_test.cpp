#include "contract/system/random_string.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace libkn::util {
namespace {

TEST(RandomString, IsOfTheLengthAndTheAlphabet) {
  EXPECT_EQ(RandomString("", 8).size(), 8U);
  EXPECT_EQ(RandomString("x", 5), "xxxxx");
  EXPECT_EQ(RandomString(std::string("\0\xff", 2), 100).find_first_not_of(std::string("\0\xff", 2)),
            std::string::npos);
  const std::string drawn = RandomString("", 20'000);
  const std::set<char> seen(drawn.begin(), drawn.end());
  EXPECT_EQ(seen.size(), 62U) << "one of them missing: a chance of 1 in 10^139";
  for (const char c : seen) EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << c;
}

TEST(RandomString, IsEmptyForLessThanOne) {
  for (const int length : {0, -1, -2147483647 - 1}) EXPECT_EQ(RandomString("", length), "");
}

TEST(RandomString, IsAnotherOneEachTime) {
  std::set<std::string> drawn;
  for (int i = 0; i < 1000; ++i) drawn.insert(RandomString("", 16));
  EXPECT_EQ(drawn.size(), 1000U);
}

// A remainder would favour the first characters of an alphabet whose size is no power of two: of 192, 64
// would come up twice as often. The bounds are 8 standard deviations away.
TEST(RandomString, FavoursNoCharacter) {
  std::string alphabet;
  for (int i = 0; i < 192; ++i) alphabet += static_cast<char>(i);
  std::map<bool, int> drawn;
  for (const char c : RandomString(alphabet, 30'000)) ++drawn[static_cast<unsigned char>(c) < 64];
  EXPECT_NEAR(drawn[true], 10'000, 660);
}

}  // namespace
}  // namespace libkn::util
