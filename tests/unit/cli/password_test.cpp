#include "cli/password.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <stdexcept>

#include "platform/base/descriptor.h"

namespace kinora::cli {
namespace {

std::string Read(const std::string& input) {
  const base::Descriptor no_terminal(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  std::istringstream in(input);
  return ReadPassword(in, no_terminal.Get());
}

TEST(ReadPassword, TakesTheFirstLineWithoutItsEnd) {
  EXPECT_EQ(Read("secret words\n"), "secret words");
  EXPECT_EQ(Read("secret words\r\nsecond\n"), "secret words");
  EXPECT_EQ(Read("no end"), "no end");
  EXPECT_EQ(Read("\n"), "");
}

TEST(ReadPassword, ThrowsWhenThereIsNone) { EXPECT_THROW(Read(""), std::invalid_argument); }

TEST(MakePassword, IsLongAndNeverTheSame) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string password = MakePassword();
    EXPECT_THAT(password, testing::MatchesRegex("[a-z2-9]{20}"));
    EXPECT_TRUE(seen.insert(password).second);
  }
}

}  // namespace
}  // namespace kinora::cli
