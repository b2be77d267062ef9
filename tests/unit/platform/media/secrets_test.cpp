#include "platform/media/secrets.h"

#include <gmock/gmock.h>

#include <set>

namespace kinora::media {
namespace {

TEST(Secrets, AreLongAndNeverTheSame) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string secret = MakeSecret();
    EXPECT_TRUE(LooksLikeSecret(secret)) << secret;
    EXPECT_TRUE(seen.insert(secret).second);
  }
}

TEST(Secrets, AreToldFromOtherText) {
  const std::string good(43, 'a');
  EXPECT_TRUE(LooksLikeSecret(good));
  for (const std::string& bad : {std::string(), good + "a", good.substr(1), std::string(42, 'a') + "'",
                                 std::string(42, 'a') + "=", std::string(43, '\0')}) {
    EXPECT_FALSE(LooksLikeSecret(bad)) << bad;
  }
}

TEST(Secrets, HaveADigestThatIsNoSecret) {
  const std::string secret = MakeSecret();
  EXPECT_EQ(DigestOf(secret), DigestOf(secret));
  EXPECT_NE(DigestOf(secret), DigestOf(MakeSecret()));
  EXPECT_THAT(DigestOf(secret), testing::MatchesRegex("[0-9a-f]{64}"));
}

TEST(Secrets, AreDerivedForOnePurposeEach) {
  const std::string secret = MakeSecret();
  EXPECT_EQ(DeriveSecret(secret, "a"), DeriveSecret(secret, "a"));
  EXPECT_NE(DeriveSecret(secret, "a"), DeriveSecret(secret, "b"));
  EXPECT_NE(DeriveSecret(secret, "a"), DeriveSecret(MakeSecret(), "a"));
  EXPECT_TRUE(LooksLikeSecret(DeriveSecret(secret, "a")));
}

TEST(Secrets, CompareByEveryByte) {
  EXPECT_TRUE(SameSecret("abc", "abc"));
  EXPECT_FALSE(SameSecret("abc", "abd"));
  EXPECT_FALSE(SameSecret("abc", "ab"));
  EXPECT_FALSE(SameSecret("", "a"));
}

TEST(Secrets, KeepPasswordsAsArgon2id) {
  const std::string hash = HashPassword("correct horse");
  EXPECT_THAT(hash, testing::StartsWith("$argon2id$v=19$m=65536,t=2,p=1$"));
  EXPECT_NE(hash, HashPassword("correct horse")) << "salted";
  EXPECT_TRUE(PasswordMatches(hash, "correct horse"));
  EXPECT_FALSE(PasswordMatches(hash, "correct horsf"));
  EXPECT_FALSE(PasswordMatches(hash, std::string("correct horse\0x", 15)));
  EXPECT_FALSE(PasswordMatches(hash, ""));
  EXPECT_FALSE(PasswordMatches("garbage", "garbage"));
}

}  // namespace
}  // namespace kinora::media
