#include "entry/form.h"

#include <gtest/gtest.h>

using kinora::entry::Form;
using kinora::entry::kLongestName;
using kinora::entry::kLongestValue;
using kinora::entry::kMostFields;
using kinora::entry::Malformed;
using kinora::entry::ParseForm;

namespace {

Form Parse(std::string_view text) {
  Form form;
  ParseForm(text, form);
  return form;
}

std::string Refusal(std::string_view text) {
  try {
    Parse(text);
  } catch (const Malformed& error) {
    return error.what();
  }
  return "accepted";
}

}  // namespace

TEST(ParseForm, ReadsNamesAndValues) {
  struct Case {
    const char* text;
    Form expected;
  };
  const Case kCases[] = {
      {"", {}},
      {"a=1&b=2", {{"a", "1"}, {"b", "2"}}},
      {"a=", {{"a", ""}}},
      {"a", {{"a", ""}}},
      {"&&a=1&", {{"a", "1"}}},
      {"a=1=2", {{"a", "1=2"}}},
      {"a=b+c%2Bd", {{"a", "b c+d"}}},
      {"%61=%e4%BD%a0", {{"a", "\xE4\xBD\xA0"}}},
      {"a=%ff", {{"a", "\xFF"}}},
      {"a=%0d%0A", {{"a", "\r\n"}}},
      {"a=%252f", {{"a", "%2f"}}},
  };
  for (const Case& c : kCases) EXPECT_EQ(Parse(c.text), c.expected) << c.text;
}

TEST(ParseForm, RefusesWhatIsMalformed) {
  using namespace std::string_view_literals;
  EXPECT_EQ(Refusal("a=%"), "incomplete percent-encoding");
  EXPECT_EQ(Refusal("a=%4"), "incomplete percent-encoding");
  EXPECT_EQ(Refusal("a=%4&b=1"), "incomplete percent-encoding");
  EXPECT_EQ(Refusal("a=%zz"), "bad percent-encoding");
  EXPECT_EQ(Refusal("a=%+1"), "bad percent-encoding");
  EXPECT_EQ(Refusal("a=%00"), "NUL in a parameter");
  EXPECT_EQ(Refusal("a=x\0y"sv), "NUL in a parameter");
  EXPECT_EQ(Refusal("=1"), "parameter without a name");
  EXPECT_EQ(Refusal("a=1&%61=2"), "parameter given twice");
}

TEST(ParseForm, RefusesNameGivenInAddressAndBody) {
  Form form;
  ParseForm("id=1", form);
  EXPECT_THROW(ParseForm("id=2", form), Malformed);
}

TEST(ParseForm, KeepsToItsLimits) {
  EXPECT_EQ(Refusal("a=" + std::string(kLongestValue, 'x')), "accepted");
  EXPECT_EQ(Refusal("a=" + std::string(kLongestValue + 1, 'x')), "parameter too long");
  EXPECT_EQ(Refusal(std::string(kLongestName, 'x')), "accepted");
  EXPECT_EQ(Refusal(std::string(kLongestName + 1, 'x')), "parameter too long");
  std::string many;
  for (size_t i = 0; i < kMostFields; ++i) many += "n" + std::to_string(i) + "=&";
  EXPECT_EQ(Refusal(many), "accepted");
  EXPECT_EQ(Refusal(many + "one=more"), "too many parameters");
}
