#include "platform/media/case_folding.h"

#include <gtest/gtest.h>

namespace kinora::media {
namespace {

TEST(FoldCase, LowersEveryAlphabet) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"Abc 12", "abc 12"},
      {"ÄÖÜ", "äöü"},
      {"ÉCOLE", "école"},
      {"ПРИВЕТ", "привет"},
      {"ΑΒΓ", "αβγ"},
      {"東京", "東京"},
      {"a\xff"
       "B",
       "a\xEF\xBF\xBD"
       "b"},
      {"😀A", "😀a"},
  };
  for (const auto& [text, folded] : cases) EXPECT_EQ(FoldCase(text), folded) << text;
}

TEST(FoldCase, DropsNothingBehindANulByte) {
  EXPECT_EQ(FoldCase(std::string_view("A\0B", 3)), std::string("a\0b", 3));
}

TEST(CountPrintable, CountsCharactersAndNotBytes) {
  EXPECT_EQ(CountPrintable("abc"), 3U);
  EXPECT_EQ(CountPrintable("Zoë"), 3U);
  EXPECT_EQ(CountPrintable("東京"), 2U);
}

TEST(CountPrintable, IsZeroForWhatCannotBePrinted) {
  for (const std::string& text : {std::string(), std::string("a\nb"), std::string("a\x1b[0m"),
                                  std::string("a\xff"), std::string("a\0b", 3)}) {
    EXPECT_EQ(CountPrintable(text), 0U) << text;
  }
}

}  // namespace
}  // namespace kinora::media
