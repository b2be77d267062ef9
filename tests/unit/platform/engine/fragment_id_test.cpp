#include "platform/engine/fragment_id.h"

#include <gtest/gtest.h>

#include <string>

namespace kinora::engine {
namespace {

TEST(FragmentId, IsReadAndWrittenInItsTwoForms) {
  const struct {
    const char* text;
    FragmentId id;
    const char* file;
  } cases[] = {
      {"0", {std::nullopt, 0}, "0.ts"},
      {"12", {std::nullopt, 12}, "12.ts"},
      {"999999", {std::nullopt, 999'999}, "999999.ts"},
      {"a0_0", {0, 0}, "a0_0.ts"},
      {"a2_12", {2, 12}, "a2_12.ts"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(ParseFragmentId(one.text), one.id) << one.text;
    EXPECT_EQ(ToText(one.id), one.text);
    EXPECT_EQ(FileName(one.id), one.file);
    EXPECT_EQ(SmoothFileName(one.id), std::string(one.text) + ".m4s");
  }
}

TEST(FragmentId, IsNothingInAnyOtherForm) {
  using std::string_literals::operator""s;
  for (const std::string& text : {""s,       "-1"s,    "+1"s,      " 1"s,         "1 "s,
                                  "01"s,     "00"s,    "1000000"s, "4294967296"s, "99999999999999999999"s,
                                  "1.ts"s,   "0x1"s,   "1e3"s,     "a"s,          "a1"s,
                                  "a1_"s,    "a_1"s,   "_1"s,      "a1_2_3"s,     "a-1_2"s,
                                  "a01_2"s,  "a1_02"s, "A1_2"s,    "aa1_2"s,      "v1"s,
                                  "../1"s,   "1/2"s,   "1\n"s,     "1\0"s,        "\0"s,
                                  "a1\0_2"s, "\u0661"s}) {
    EXPECT_EQ(ParseFragmentId(text), std::nullopt) << "[" << text << "]";
  }
}

}  // namespace
}  // namespace kinora::engine
