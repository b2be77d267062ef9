#include "contract/media/personal_setting.h"

#include <gtest/gtest.h>
#include <soci/soci.h>

#include <filesystem>
#include <fstream>

#include "platform/media/accounts.h"
#include "platform/media/preferences.h"
#include "platform/system/places.h"

namespace LibKinora::db::api {
namespace {

class PersonalSettingTest : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::remove_all(folder_); }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  const std::filesystem::path folder_ = std::filesystem::path(kinora::system::kDatabaseFile).parent_path();
};

TEST_F(PersonalSettingTest, IsWhatTheAccountHasChosen) {
  kinora::media::Store store(kinora::system::kDatabaseFile);
  const int id = kinora::media::Accounts(store).Create("anna", "password1", false).id;
  const PersonalSetting setting(static_cast<unsigned int>(id));
  EXPECT_FALSE(setting.Get().convert_simplified_to_traditional()) << "never set";
  kinora::media::Preferences(store).SetConvertsSimplifiedToTraditional(id, true);
  EXPECT_TRUE(setting.Get().convert_simplified_to_traditional());
  for (const unsigned int other : {0U, static_cast<unsigned int>(id) + 1, 4294967295U}) {
    EXPECT_FALSE(PersonalSetting(other).Get().convert_simplified_to_traditional()) << other;
  }
}

TEST_F(PersonalSettingTest, ThrowsFailureAndKeepsTheFileWhenItIsDamaged) {
  std::filesystem::create_directories(folder_);
  const std::string damage = "this is no database";
  std::ofstream(kinora::system::kDatabaseFile) << damage;
  EXPECT_NO_THROW(PersonalSetting(1)) << "nothing is opened before it is asked";
  EXPECT_THROW(PersonalSetting(1).Get(), Failure);
  EXPECT_EQ(std::filesystem::file_size(kinora::system::kDatabaseFile), damage.size());
}

}  // namespace
}  // namespace LibKinora::db::api
