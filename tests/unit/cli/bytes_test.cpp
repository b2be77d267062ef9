#include "cli/bytes.h"

#include <gtest/gtest.h>

namespace kinora::cli {
namespace {

TEST(ToBytesText, TakesTheLargestUnitThatLeavesAWholePart) {
  const std::pair<uint64_t, const char*> cases[] = {
      {0, "0 B"},
      {1023, "1023 B"},
      {1024, "1.0 KiB"},
      {1536, "1.5 KiB"},
      {2047, "1.9 KiB"},
      {uint64_t{256} << 20, "256.0 MiB"},
      {(uint64_t{1} << 30) - 1, "1023.9 MiB"},
      {uint64_t{16} << 30, "16.0 GiB"},
      {uint64_t{1} << 40, "1.0 TiB"},
      {UINT64_MAX, "15.9 EiB"},
  };
  for (const auto& [bytes, text] : cases) EXPECT_EQ(ToBytesText(bytes), text);
}

}  // namespace
}  // namespace kinora::cli
