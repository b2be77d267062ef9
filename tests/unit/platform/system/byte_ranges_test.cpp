#include "platform/system/byte_ranges.h"

#include <gtest/gtest.h>

#include <string>

namespace kinora::system {
namespace {

using Kind = RangeDecision::Kind;

struct RangeCase {
  std::string name;
  std::string field;
  uint64_t size;
  std::string decision;  // "whole", "unsatisfiable", or first+length of each range
};

std::string Describe(const RangeDecision& decision) {
  if (decision.kind == Kind::kWhole) return "whole";
  if (decision.kind == Kind::kUnsatisfiable) return "unsatisfiable";
  std::string text;
  for (const ByteRange& range : decision.ranges) {
    text += (text.empty() ? "" : " ") + std::to_string(range.first) + "+" + std::to_string(range.length);
  }
  return text;
}

std::string Many(int count) {
  std::string field = "bytes=";
  for (int i = 0; i < count; ++i) field += std::to_string(i * 2) + "-" + std::to_string(i * 2) + ",";
  return field;
}

class DecideRangesTest : public testing::TestWithParam<RangeCase> {};

TEST_P(DecideRangesTest, GivesTheBytesToSend) {
  EXPECT_EQ(Describe(DecideRanges(GetParam().field, GetParam().size)), GetParam().decision)
      << GetParam().field.substr(0, 100);
}

#define CASES(group, ...)                                                         \
  INSTANTIATE_TEST_SUITE_P(group, DecideRangesTest, testing::Values(__VA_ARGS__), \
                           [](const auto& parameter) { return parameter.param.name; })

CASES(One, RangeCase{"Inner", "bytes=2-4", 10, "2+3"}, RangeCase{"FirstByte", "bytes=0-0", 10, "0+1"},
      RangeCase{"LastByte", "bytes=9-9", 10, "9+1"}, RangeCase{"OpenEnd", "bytes=4-", 10, "4+6"},
      RangeCase{"All", "bytes=0-", 10, "0+10"}, RangeCase{"EndBeyond", "bytes=4-100", 10, "4+6"},
      RangeCase{"Suffix", "bytes=-3", 10, "7+3"}, RangeCase{"SuffixBeyond", "bytes=-30", 10, "0+10"},
      RangeCase{"StartAtTheEnd", "bytes=10-", 10, "unsatisfiable"},
      RangeCase{"StartBeyond", "bytes=11-12", 10, "unsatisfiable"},
      RangeCase{"NoSuffix", "bytes=-0", 10, "unsatisfiable"},
      RangeCase{"UnitInCapitals", "BYTES=1-1", 10, "1+1"}, RangeCase{"Blanks", " bytes= 1-2 ", 10, "1+2"});

CASES(EmptyFile, RangeCase{"Start", "bytes=0-", 0, "unsatisfiable"},
      RangeCase{"Suffix", "bytes=-5", 0, "whole"}, RangeCase{"NoSuffix", "bytes=-0", 0, "unsatisfiable"});

CASES(Several, RangeCase{"Apart", "bytes=0-1,5-6", 10, "0+2 5+2"},
      RangeCase{"BlanksAndGaps", "bytes=0-1 ,\t, 5-6,", 10, "0+2 5+2"},
      RangeCase{"OrderOfTheRequest", "bytes=5-6,0-1", 10, "5+2 0+2"},
      RangeCase{"Overlapping", "bytes=0-4,3-6", 10, "0+7"}, RangeCase{"Touching", "bytes=0-4,5-6", 10, "0+7"},
      RangeCase{"TouchingBackwards", "bytes=5-6,0-4", 10, "0+7"},
      RangeCase{"Equal", "bytes=2-3,2-3", 10, "2+2"}, RangeCase{"Contained", "bytes=0-,3-4", 10, "0+10"},
      RangeCase{"OneFillsTheGap", "bytes=0-1,4-5,8-9,2-3", 10, "0+6 8+2"},
      RangeCase{"OneSwallowsAll", "bytes=0-0,4-4,8-8,-10", 10, "0+10"},
      RangeCase{"SomeBeyond", "bytes=20-30,1-2", 10, "1+2"},
      RangeCase{"AllBeyond", "bytes=20-30,40-", 10, "unsatisfiable"},
      RangeCase{"SuffixOverlaps", "bytes=7-8,-2", 10, "7+3"});

CASES(Large, RangeCase{"PastFourGigabytes", "bytes=4294967296-4294967297", 5ULL << 30, "4294967296+2"},
      RangeCase{"Max63", "bytes=9223372036854775807-", 10, "unsatisfiable"},
      RangeCase{"Over63", "bytes=9223372036854775808-", 10, "unsatisfiable"},
      RangeCase{"Max64", "bytes=18446744073709551615-", 10, "unsatisfiable"},
      RangeCase{"Over64", "bytes=18446744073709551616-", 10, "unsatisfiable"},
      RangeCase{"EndOver63", "bytes=1-9223372036854775808", 10, "1+9"},
      RangeCase{"EndOver64", "bytes=1-99999999999999999999999", 10, "1+9"},
      RangeCase{"BothOver64", "bytes=18446744073709551617-18446744073709551616", 10, "unsatisfiable"},
      RangeCase{"SuffixOver64", "bytes=-99999999999999999999999", 10, "0+10"},
      RangeCase{"LargestFile", "bytes=0-", INT64_MAX, "0+9223372036854775807"});

CASES(Ignored, RangeCase{"Empty", "", 10, "whole"}, RangeCase{"NoRanges", "bytes=", 10, "whole"},
      RangeCase{"OnlyCommas", "bytes=,,", 10, "whole"}, RangeCase{"OtherUnit", "seconds=1-2", 10, "whole"},
      RangeCase{"NoUnit", "1-2", 10, "whole"}, RangeCase{"Backwards", "bytes=5-1", 10, "whole"},
      RangeCase{"OneOfThemBackwards", "bytes=0-1,5-4", 10, "whole"},
      RangeCase{"NoDash", "bytes=5", 10, "whole"}, RangeCase{"OnlyDash", "bytes=-", 10, "whole"},
      RangeCase{"TwoDashes", "bytes=1-2-3", 10, "whole"}, RangeCase{"Negative", "bytes=--5", 10, "whole"},
      RangeCase{"Letters", "bytes=a-b", 10, "whole"}, RangeCase{"Hexadecimal", "bytes=0x1-0x2", 10, "whole"},
      RangeCase{"Plus", "bytes=+1-2", 10, "whole"}, RangeCase{"BlankInside", "bytes=1 - 2", 10, "whole"},
      RangeCase{"BlankBeforeTheSign", "bytes =1-2", 10, "whole"},
      RangeCase{"ZeroByte", std::string("bytes=1-2\0", 10), 10, "whole"},
      RangeCase{"TenThousand", Many(10'000), 1 << 20, "whole"},
      RangeCase{"OneMoreThanAllowed", Many(101), 1 << 20, "whole"});

TEST(DecideRanges, TakesAsManyRangesAsAreAllowed) {
  EXPECT_EQ(DecideRanges(Many(100), 1 << 20).ranges.size(), 100U);
}

}  // namespace
}  // namespace kinora::system
