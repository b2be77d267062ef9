#include "platform/engine/memory.h"

#include <gtest/gtest.h>

namespace kinora::engine {
namespace {

TEST(Memory, IsWhatTheMachineSays) {
  EXPECT_EQ(ParseAvailableMemory("MemTotal:  99 kB\nMemAvailable:    1024 kB\n"), 1U << 20);
  for (const char* text :
       {"", "MemTotal: 99 kB\n", "MemAvailable: many\n", "MemAvailable:", "XMemAvailable: 1 kB",
        "MemAvailable: 99999999999999999999 kB", "MemAvailable: 18446744073709551615 kB"}) {
    EXPECT_EQ(ParseAvailableMemory(text), std::nullopt) << text;
  }
}

TEST(Memory, IsWhatAGroupLeaves) {
  const struct {
    const char* max;
    const char* current;
    const char* stat;
    std::optional<uint64_t> left;
  } cases[] = {
      {"1000\n", "400\n", "", 600},
      {"1000\n", "400\n", "anon 100\ninactive_file 200\nactive_file 50\n", 850},
      {"1000\n", "400\n", "inactive_file 900\n", 1000},
      {"1000\n", "1400\n", "", 0},
      {"max\n", "400\n", "", std::nullopt},
      {"", "", "", std::nullopt},
      {"1000\n", "", "", std::nullopt},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(ParseGroupMemory(one.max, one.current, one.stat), one.left) << one.max << one.stat;
  }
}

TEST(Memory, IsKnownHere) { EXPECT_GT(AvailableMemory(), 0U); }

}  // namespace
}  // namespace kinora::engine
