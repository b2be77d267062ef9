#include "platform/media/preferences.h"

#include <gtest/gtest.h>
#include <soci/soci.h>

#include "tests/unit/platform/media/database_file.h"

namespace kinora::media {
namespace {

class PreferencesTest : public testing::Test {
 protected:
  PreferencesTest() {
    for (const std::string name : {"anna", "bert"}) {
      store_.Do([&](soci::session& sql) {
        sql << "INSERT INTO accounts(name, name_key, password, administrator, created) VALUES(:name, :key, "
               "'', 0, 0)",
            soci::use(name), soci::use(name);
      });
    }
  }
  int RowsOfSettings() {
    return store_.Do([](soci::session& sql) {
      int rows = 0;
      sql << "SELECT COUNT(*) FROM personal_settings", soci::into(rows);
      return rows;
    });
  }

  DatabaseFile file_;
  Store store_{file_.Path()};
  Preferences preferences_{store_};
  const int anna_ = 1;
  const int bert_ = 2;
};

TEST_F(PreferencesTest, AreAtTheirDefaultsUntilSet) {
  for (const long long account : {0LL, -1LL, static_cast<long long>(anna_), 4294967295LL}) {
    EXPECT_FALSE(preferences_.ConvertsSimplifiedToTraditional(account)) << account;
  }
}

TEST_F(PreferencesTest, AreEachAccountsOwn) {
  preferences_.SetConvertsSimplifiedToTraditional(anna_, true);
  EXPECT_TRUE(preferences_.ConvertsSimplifiedToTraditional(anna_));
  EXPECT_FALSE(preferences_.ConvertsSimplifiedToTraditional(bert_));
  Store second(file_.Path());
  EXPECT_TRUE(Preferences(second).ConvertsSimplifiedToTraditional(anna_)) << "kept";
  preferences_.SetConvertsSimplifiedToTraditional(anna_, false);
  EXPECT_FALSE(preferences_.ConvertsSimplifiedToTraditional(anna_));
  EXPECT_EQ(RowsOfSettings(), 1);
}

TEST_F(PreferencesTest, GoWithTheirAccount) {
  preferences_.SetConvertsSimplifiedToTraditional(anna_, true);
  store_.Do([this](soci::session& sql) { sql << "DELETE FROM accounts WHERE id = :id", soci::use(anna_); });
  EXPECT_EQ(RowsOfSettings(), 0);
  EXPECT_FALSE(preferences_.ConvertsSimplifiedToTraditional(anna_));
}

TEST_F(PreferencesTest, CannotBeSetForNobody) {
  for (const long long account : {0LL, -1LL, 4294967295LL}) {
    EXPECT_THROW(preferences_.SetConvertsSimplifiedToTraditional(account, true), LibKinora::db::Failure);
  }
  EXPECT_EQ(RowsOfSettings(), 0);
}

TEST_F(PreferencesTest, AreAtTheirDefaultsWhereTheValueIsNotKnown) {
  for (const std::string& value : kQuotes) {
    store_.Do([&](soci::session& sql) {
      sql << "INSERT OR REPLACE INTO personal_settings VALUES(:account, 'convert_simplified_to_traditional', "
             ":value)",
          soci::use(anna_), soci::use(value);
    });
    EXPECT_FALSE(preferences_.ConvertsSimplifiedToTraditional(anna_)) << value;
  }
}

}  // namespace
}  // namespace kinora::media
