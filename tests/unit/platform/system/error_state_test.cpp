#include "contract/system/error_state.h"

#include <gtest/gtest.h>

TEST(ErrorState, KeepsTheLastCode) {
  EXPECT_EQ(HLIBCErrGet(), 0U);
  HLIBCErrSetEx(0x2900, "a.cpp", 7, 0);
  EXPECT_EQ(HLIBCErrGet(), 0x2900U);
  EXPECT_EQ(HLIBCErrGet(), 0x2900U);
  HLIBCErrSetEx(0xDD00, nullptr, -1, 0);
  EXPECT_EQ(HLIBCErrGet(), 0xDD00U);
}
