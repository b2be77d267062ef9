#include "contract/webapi/join_string.h"

#include <gtest/gtest.h>

using crvnkn::JoinString;

TEST(JoinString, GivesAnEmptyStringForNoParts) { EXPECT_EQ(JoinString({}, "/"), ""); }

TEST(JoinString, GivesASinglePartUnchanged) { EXPECT_EQ(JoinString({"/tmp/Kinora"}, "/"), "/tmp/Kinora"); }

TEST(JoinString, PutsTheSeparatorBetweenNeighboursOnly) {
  EXPECT_EQ(JoinString({"/tmp/Kinora", "RAW", "id", "filepath"}, "/"), "/tmp/Kinora/RAW/id/filepath");
  EXPECT_EQ(JoinString({"a", "b"}, ", "), "a, b");
}

TEST(JoinString, KeepsEmptyPartsAndNulBytes) {
  EXPECT_EQ(JoinString({"", "", "c"}, "/"), "//c");
  const std::string nul("\0", 1);
  EXPECT_EQ(JoinString({nul, "b"}, ""), nul + "b");
}
