#include "entry/flags.h"

#include <gtest/gtest.h>

#include "entry/api_errors.h"

using namespace kinora::entry;

TEST(FlagParameter, IsTrueOrFalseAndNothingElse) {
  Request request;
  EXPECT_TRUE(FlagParameter(request, "flag", true));
  EXPECT_FALSE(FlagParameter(request, "flag", false));
  const std::pair<const char*, bool> kTaken[] = {{"true", true}, {"1", true}, {"false", false}, {"0", false}};
  for (const auto& [text, value] : kTaken) {
    request.parameters["flag"] = text;
    EXPECT_EQ(FlagParameter(request, "flag", !value), value) << text;
  }
  for (const char* text : {"True", "yes", "on", "2", "-1", "01", " 1", "true ", "null"}) {
    request.parameters["flag"] = text;
    EXPECT_THROW(FlagParameter(request, "flag", true), Error) << text;
  }
}
