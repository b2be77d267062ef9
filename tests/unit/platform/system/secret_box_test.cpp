#include "platform/system/secret_box.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "contract/system/crypt.h"
#include "platform/system/places.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kService = 12345;

class SecretBoxTest : public testing::Test {
 protected:
  void SetUp() override {
    if (std::getenv("KINORA_PLACES") == nullptr) GTEST_SKIP() << "run it through tests/with-places";
    fs::remove(kMachineKey);
  }
  void TearDown() override {
    if (!IsSkipped()) fs::remove(kMachineKey);
  }

  static bool HasTwoIdentities() {
    const char* const places = std::getenv("KINORA_PLACES");
    return ::geteuid() == 0 && places != nullptr && std::string(places) != "user";
  }
  static struct stat StatusOfKey() {
    struct stat status {};
    EXPECT_EQ(::lstat(kMachineKey, &status), 0);
    return status;
  }
  // What HLIBCCryptSzDecrypt puts into a buffer of this size; "untouched" when it fails.
  static std::string Decrypt(const std::string& encrypted, int size = 256) {
    std::array<char, 512> buffer{"untouched"};
    const int result = HLIBCCryptSzDecrypt(encrypted.c_str(), buffer.data(), size);
    EXPECT_EQ(result == 0, std::string(buffer.data()) == "untouched");
    return buffer.data();
  }
};

TEST_F(SecretBoxTest, GivesBackWhatWasEncrypted) {
  for (const std::string& clear : {std::string(), std::string("secret"), std::string("pässwörd \n\x01"),
                                   std::string(10'000, 'x'), std::string("a\0b", 3)}) {
    const auto encrypted = EncryptSecret(clear);
    ASSERT_TRUE(encrypted);
    EXPECT_EQ(DecryptSecret(*encrypted), clear);
  }
}

TEST_F(SecretBoxTest, NeverEncryptsTheSameWayAndShowsNothing) {
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const std::string encrypted = EncryptSecret("secret").value_or("");
    EXPECT_THAT(encrypted, testing::MatchesRegex("1\\.[0-9A-Za-z_-]+"));
    EXPECT_THAT(encrypted, testing::Not(testing::HasSubstr("secret")));
    EXPECT_TRUE(seen.insert(encrypted).second);
  }
}

TEST_F(SecretBoxTest, RefusesWhatWasChangedAnywhere) {
  const std::string encrypted = EncryptSecret("secret").value_or("");
  ASSERT_FALSE(encrypted.empty());
  for (size_t i = 0; i < encrypted.size(); ++i) {
    std::string changed = encrypted;
    changed[i] = changed[i] == 'A' ? 'B' : 'A';
    // The last character holds spare bits, which the decoder wants to be zero.
    EXPECT_EQ(DecryptSecret(changed), std::nullopt) << i;
    EXPECT_EQ(DecryptSecret(encrypted.substr(0, i)), std::nullopt) << i;
  }
  for (const std::string& added : {encrypted + "A", encrypted + "=", encrypted + "\n", " " + encrypted})
    EXPECT_EQ(DecryptSecret(added), std::nullopt);
}

TEST_F(SecretBoxTest, RefusesWhatIsOfAnotherForm) {
  ASSERT_TRUE(EncryptSecret("secret"));
  for (const std::string& text :
       {std::string(), std::string("1."), std::string("secret"), std::string("2.AAAA"),
        "1." + std::string(54, 'A'), "1." + std::string(10'000, 'A')}) {
    EXPECT_EQ(DecryptSecret(text), std::nullopt) << text;
  }
}

TEST_F(SecretBoxTest, RefusesWhatIsOfAnotherMachine) {
  const std::string encrypted = EncryptSecret("secret").value_or("");
  fs::remove(kMachineKey);
  EXPECT_EQ(DecryptSecret(encrypted), std::nullopt);
  EXPECT_FALSE(fs::exists(kMachineKey));
  ASSERT_TRUE(EncryptSecret("another"));
  EXPECT_EQ(DecryptSecret(encrypted), std::nullopt);
}

TEST_F(SecretBoxTest, KeepsItsKeyFromOthers) {
  ASSERT_TRUE(EncryptSecret("secret"));
  const struct stat status = StatusOfKey();
  EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
  EXPECT_EQ(status.st_size, 32);
  EXPECT_EQ(std::distance(fs::directory_iterator(kVar), fs::directory_iterator()), 1)
      << "a scratch file is left";
}

TEST_F(SecretBoxTest, MakesNoUseOfAKeyThatOthersMayHaveRead) {
  const std::string encrypted = EncryptSecret("secret").value_or("");
  for (const mode_t mode : {0640U, 0604U, 0666U}) {
    ASSERT_EQ(::chmod(kMachineKey, mode), 0);
    EXPECT_EQ(EncryptSecret("secret"), std::nullopt);
    EXPECT_EQ(DecryptSecret(encrypted), std::nullopt);
  }
  ASSERT_EQ(::chmod(kMachineKey, 0600), 0);
  EXPECT_EQ(DecryptSecret(encrypted), "secret");
}

TEST_F(SecretBoxTest, MakesNoUseOfWhatIsNoKey) {
  const std::string elsewhere = InVar("elsewhere");
  ASSERT_TRUE(EncryptSecret("secret"));
  fs::rename(kMachineKey, elsewhere);
  fs::create_symlink(elsewhere, kMachineKey);
  EXPECT_EQ(EncryptSecret("secret"), std::nullopt);
  fs::remove(kMachineKey);
  fs::remove(elsewhere);
  for (const size_t size : {0U, 31U, 33U}) {
    std::ofstream(kMachineKey) << std::string(size, 'k');
    ASSERT_EQ(::chmod(kMachineKey, 0600), 0);
    EXPECT_EQ(EncryptSecret("secret"), std::nullopt) << size;
  }
  fs::remove(kMachineKey);
  fs::create_directory(kMachineKey);
  EXPECT_EQ(EncryptSecret("secret"), std::nullopt);
}

TEST_F(SecretBoxTest, HasOneKeyHoweverManyMakeItAtOnce) {
  constexpr int kMakers = 16;
  std::vector<pid_t> makers;
  for (int i = 0; i < kMakers; ++i) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      const auto encrypted = EncryptSecret("secret");
      std::ofstream(InVar("made-" + std::to_string(i))) << encrypted.value_or("");
      ::_exit(0);
    }
    makers.push_back(pid);
  }
  for (const pid_t pid : makers) ::waitpid(pid, nullptr, 0);
  for (int i = 0; i < kMakers; ++i) {
    const std::string file = InVar("made-" + std::to_string(i));
    std::string encrypted;
    std::ifstream(file) >> encrypted;
    EXPECT_EQ(DecryptSecret(encrypted), "secret") << i;
    fs::remove(file);
  }
}

TEST_F(SecretBoxTest, OfTheServiceHasAKeyThatRootAloneMayRead) {
  if (!HasTwoIdentities()) GTEST_SKIP() << "needs root and two identities";
  ASSERT_EQ(::setresuid(0, kService, kService), 0);
  const std::string encrypted = EncryptSecret("secret").value_or("");
  EXPECT_EQ(DecryptSecret(encrypted), "secret");
  EXPECT_EQ(::geteuid(), kService);
  ASSERT_EQ(::setresuid(0, 0, 0), 0);
  EXPECT_EQ(StatusOfKey().st_uid, 0U);
  ASSERT_EQ(::chown(kMachineKey, kService, kService), 0);
  EXPECT_EQ(DecryptSecret(encrypted), std::nullopt) << "the service's account has put it there";
}

TEST_F(SecretBoxTest, IsDecryptedByThePlatformsCall) {
  EXPECT_EQ(Decrypt(EncryptSecret("secret").value_or("")), "secret");
  EXPECT_EQ(Decrypt(EncryptSecret("").value_or("")), "");
}

TEST_F(SecretBoxTest, IsLeftAloneByThePlatformsCallWhenItDoesNotFit) {
  const std::string encrypted = EncryptSecret("secret").value_or("");
  EXPECT_EQ(Decrypt(encrypted, 7), "secret");
  for (const int size : {6, 1, 0, -1}) EXPECT_EQ(Decrypt(encrypted, size), "untouched") << size;
  EXPECT_EQ(Decrypt(EncryptSecret(std::string(255, 'x')).value_or("")), std::string(255, 'x'));
  EXPECT_EQ(Decrypt(EncryptSecret(std::string(256, 'x')).value_or("")), "untouched");
  EXPECT_EQ(Decrypt(EncryptSecret(std::string("a\0b", 3)).value_or("")), "untouched");
  EXPECT_EQ(Decrypt("no secret"), "untouched");
  EXPECT_EQ(HLIBCCryptSzDecrypt(nullptr, nullptr, 256), 0);
}

}  // namespace
}  // namespace kinora::system
