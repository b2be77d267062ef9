#include "platform/system/conditions.h"

#include <gtest/gtest.h>

#include <ostream>

namespace kinora::system {
namespace {

constexpr int64_t kNow = 1'800'000'000;     // 2027
constexpr int64_t kModified = 784'111'777;  // of the example date in RFC 9110
constexpr char kDate[] = "Sun, 06 Nov 1994 08:49:37 GMT";
constexpr char kBefore[] = "Sun, 06 Nov 1994 08:49:36 GMT";
constexpr char kAfter[] = "Sun, 06 Nov 1994 08:49:38 GMT";

const Validators kStrong{"\"a\"", kModified};
const Validators kWeak{"W/\"a\"", kModified};

struct DateCase {
  std::string name;
  std::string text;
  std::optional<int64_t> seconds;
};

class HttpDateTest : public testing::TestWithParam<DateCase> {};

TEST_P(HttpDateTest, IsReadOrRefused) { EXPECT_EQ(ParseHttpDate(GetParam().text, kNow), GetParam().seconds); }

INSTANTIATE_TEST_SUITE_P(
    Cases, HttpDateTest,
    testing::Values(DateCase{"Preferred", kDate, kModified},
                    DateCase{"Rfc850", "Sunday, 06-Nov-94 08:49:37 GMT", kModified},
                    DateCase{"Asctime", "Sun Nov  6 08:49:37 1994", kModified},
                    DateCase{"Rfc850FiftyYearsAhead", "Friday, 06-Nov-76 08:49:37 GMT", 3'371'878'177},
                    DateCase{"Rfc850MoreThanFiftyYearsAhead", "Sunday, 06-Nov-78 08:49:37 GMT", 279'190'177},
                    DateCase{"Epoch", "Thu, 01 Jan 1970 00:00:00 GMT", 0},
                    DateCase{"After2038", "Tue, 19 Jan 2038 03:14:08 GMT", 2'147'483'648},
                    DateCase{"Empty", "", std::nullopt}, DateCase{"Number", "784111777", std::nullopt},
                    DateCase{"NoZone", "Sun, 06 Nov 1994 08:49:37", std::nullopt},
                    DateCase{"OtherZone", "Sun, 06 Nov 1994 08:49:37 CET", std::nullopt},
                    DateCase{"NoSuchMonth", "Sun, 06 Nox 1994 08:49:37 GMT", std::nullopt},
                    DateCase{"NoSuchHour", "Sun, 06 Nov 1994 24:49:37 GMT", std::nullopt},
                    DateCase{"MoreBehind", "Sun, 06 Nov 1994 08:49:37 GMT x", std::nullopt},
                    DateCase{"Long", std::string(100'000, 'x'), std::nullopt}),
    [](const auto& parameter) { return parameter.param.name; });

TEST(HttpDate, IsWrittenInThePreferredForm) {
  EXPECT_EQ(FormatHttpDate(kModified), kDate);
  EXPECT_EQ(FormatHttpDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
}

struct ConditionCase {
  std::string name;
  Conditions conditions;
  Validators validators;
  Verdict verdict;
};

class EvaluateTest : public testing::TestWithParam<ConditionCase> {};

TEST_P(EvaluateTest, FollowsTheOrderOfPrecedence) {
  EXPECT_EQ(Evaluate(GetParam().conditions, GetParam().validators, kNow), GetParam().verdict);
}

Conditions IfMatch(const std::string& value) { return {.if_match = value}; }
Conditions IfNoneMatch(const std::string& value) { return {.if_none_match = value}; }
Conditions Since(const std::string& value) { return {.if_modified_since = value}; }
Conditions Unmodified(const std::string& value) { return {.if_unmodified_since = value}; }
Conditions Both(Conditions conditions, const Conditions& other) {
  if (other.if_modified_since) conditions.if_modified_since = other.if_modified_since;
  if (other.if_unmodified_since) conditions.if_unmodified_since = other.if_unmodified_since;
  if (other.if_none_match) conditions.if_none_match = other.if_none_match;
  return conditions;
}

#define CASES(group, ...)                                                     \
  INSTANTIATE_TEST_SUITE_P(group, EvaluateTest, testing::Values(__VA_ARGS__), \
                           [](const auto& parameter) { return parameter.param.name; })
using enum Verdict;

CASES(Alone, ConditionCase{"None", {}, kStrong, kProceed},
      ConditionCase{"NoneMatchEqual", IfNoneMatch("\"a\""), kStrong, kNotModified},
      ConditionCase{"NoneMatchOther", IfNoneMatch("\"b\""), kStrong, kProceed},
      ConditionCase{"NoneMatchAny", IfNoneMatch(" *"), kStrong, kNotModified},
      ConditionCase{"NoneMatchList", IfNoneMatch("\"x\", W/\"y,z\" ,\"a\""), kStrong, kNotModified},
      ConditionCase{"NoneMatchComparesWeakly", IfNoneMatch("W/\"a\""), kStrong, kNotModified},
      ConditionCase{"NoneMatchOfAWeakTag", IfNoneMatch("\"a\""), kWeak, kNotModified},
      ConditionCase{"NoneMatchWithoutQuotes", IfNoneMatch("a"), kStrong, kProceed},
      ConditionCase{"NoneMatchOpenQuote", IfNoneMatch("\"a"), kStrong, kProceed},
      ConditionCase{"NoneMatchInsideAnotherTag", IfNoneMatch("\"x\"a\""), kStrong, kProceed},
      ConditionCase{"NoneMatchEmpty", IfNoneMatch(""), kStrong, kProceed},
      ConditionCase{"NoneMatchWeakSignAlone", IfNoneMatch("W/"), kStrong, kProceed},
      ConditionCase{"MatchEqual", IfMatch("\"a\""), kStrong, kProceed},
      ConditionCase{"MatchOther", IfMatch("\"b\""), kStrong, kPreconditionFailed},
      ConditionCase{"MatchAny", IfMatch("*"), kWeak, kProceed},
      ConditionCase{"MatchComparesStrongly", IfMatch("W/\"a\""), kStrong, kPreconditionFailed},
      ConditionCase{"MatchOfAWeakTag", IfMatch("W/\"a\""), kWeak, kPreconditionFailed},
      ConditionCase{"SinceEqual", Since(kDate), kStrong, kNotModified},
      ConditionCase{"SinceLater", Since(kAfter), kStrong, kNotModified},
      ConditionCase{"SinceEarlier", Since(kBefore), kStrong, kProceed},
      ConditionCase{"SinceNoDate", Since("yesterday"), kStrong, kProceed},
      ConditionCase{"UnmodifiedEqual", Unmodified(kDate), kStrong, kProceed},
      ConditionCase{"UnmodifiedEarlier", Unmodified(kBefore), kStrong, kPreconditionFailed},
      ConditionCase{"UnmodifiedNoDate", Unmodified("x"), kStrong, kProceed});

CASES(Together,
      ConditionCase{"NoneMatchBeforeSince", Both(IfNoneMatch("\"b\""), Since(kAfter)), kStrong, kProceed},
      ConditionCase{"MatchBeforeUnmodified", Both(IfMatch("\"a\""), Unmodified(kBefore)), kStrong, kProceed},
      ConditionCase{"MatchThenNoneMatch", Both(IfMatch("\"a\""), IfNoneMatch("\"a\"")), kStrong,
                    kNotModified},
      ConditionCase{"FailedMatchFirst", Both(IfMatch("\"b\""), IfNoneMatch("\"a\"")), kStrong,
                    kPreconditionFailed});

struct IfRangeCase {
  std::string name;
  std::optional<std::string> value;
  Validators validators;
  bool allowed;
};

class IfRangeTest : public testing::TestWithParam<IfRangeCase> {};

TEST_P(IfRangeTest, AllowsRangesOnlyOfTheSameContent) {
  EXPECT_EQ(AllowsRanges({.if_range = GetParam().value}, GetParam().validators, kNow), GetParam().allowed);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, IfRangeTest,
    testing::Values(
        IfRangeCase{"None", std::nullopt, kWeak, true}, IfRangeCase{"Tag", "\"a\"", kStrong, true},
        IfRangeCase{"OtherTag", "\"b\"", kStrong, false}, IfRangeCase{"WeakTag", "W/\"a\"", kStrong, false},
        IfRangeCase{"BothWeak", "W/\"a\"", kWeak, false}, IfRangeCase{"List", "\"b\", \"a\"", kStrong, false},
        IfRangeCase{"Date", kDate, kStrong, true},
        IfRangeCase{"DateInAnotherForm", "Sun Nov  6 08:49:37 1994", kStrong, true},
        IfRangeCase{"EarlierDate", kBefore, kStrong, false}, IfRangeCase{"LaterDate", kAfter, kStrong, false},
        IfRangeCase{"DateOfARecentChange", kDate, kWeak, false}, IfRangeCase{"Nonsense", "x", kStrong, false},
        IfRangeCase{"Empty", "", kStrong, false}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace kinora::system
