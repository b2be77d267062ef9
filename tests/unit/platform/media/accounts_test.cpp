#include "platform/media/accounts.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <ctime>
#include <stdexcept>

#include "platform/media/sessions.h"
#include "tests/unit/platform/media/database_file.h"

namespace kinora::media {
namespace {

class AccountsTest : public testing::Test {
 protected:
  DatabaseFile file_;
  Store store_{file_.Path()};
  Accounts accounts_{store_};
};

std::string RefusalOf(Accounts& accounts, const std::string& name, const std::string& password) {
  try {
    accounts.Create(name, password, false);
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "";
}

TEST_F(AccountsTest, GivesIdsFromOneOn) {
  EXPECT_EQ(accounts_.Create("anna", "password 1", true).id, 1);
  EXPECT_EQ(accounts_.Create("Zoë", "password 2", false).id, 2);
}

TEST_F(AccountsTest, LetsInWhoKnowsThePassword) {
  accounts_.Create("anna", "password 1", true);
  const auto account = accounts_.Authenticate("anna", "password 1");
  ASSERT_TRUE(account);
  EXPECT_EQ(account->id, 1);
  EXPECT_EQ(account->name, "anna");
  EXPECT_TRUE(account->administrator);
  EXPECT_TRUE(accounts_.Authenticate("ANNA", "password 1"));
  EXPECT_FALSE(accounts_.Authenticate("anna", "password 2"));
  EXPECT_FALSE(accounts_.Authenticate("anna", ""));
  EXPECT_FALSE(accounts_.Authenticate("anna", "password 1" + std::string(2000, 'x')));
  EXPECT_FALSE(accounts_.Authenticate("bert", "password 1"));
}

TEST_F(AccountsTest, TakesAsLongForAnUnknownNameAsForAWrongPassword) {
  accounts_.Create("anna", "password 1", false);
  // Work, not time: what else the machine does shall not count.
  const auto time_of = [&](const std::string& name) {
    const std::clock_t start = std::clock();
    EXPECT_FALSE(accounts_.Authenticate(name, "something else"));
    return static_cast<double>(std::clock() - start);
  };
  const double known = time_of("anna");
  const double unknown = time_of("bert");
  EXPECT_GT(unknown, known / 2);
  EXPECT_LT(unknown, known * 2);
}

TEST_F(AccountsTest, SaysWhyANameOrPasswordIsRefused) {
  accounts_.Create("Anna", "password 1", false);
  const std::string form = "an account's name is 1 to 64 printable characters without a slash";
  EXPECT_EQ(RefusalOf(accounts_, "anna", "password 1"), "there is an account of that name already");
  EXPECT_EQ(RefusalOf(accounts_, "", "password 1"), form);
  EXPECT_EQ(RefusalOf(accounts_, "a/b", "password 1"), form);
  EXPECT_EQ(RefusalOf(accounts_, "a\nb", "password 1"), form);
  EXPECT_EQ(RefusalOf(accounts_, "a\xff", "password 1"), form);
  EXPECT_EQ(RefusalOf(accounts_, std::string(65, 'a'), "password 1"), form);
  EXPECT_EQ(RefusalOf(accounts_, "bert", "1234567"), "a password has at least 8 bytes");
  EXPECT_EQ(RefusalOf(accounts_, "bert", std::string(1025, 'x')), "a password has at most 1024 bytes");
  EXPECT_EQ(RefusalOf(accounts_, "名前", std::string(1024, 'x')), "");
}

TEST_F(AccountsTest, ChangesAPasswordAndEndsTheSessions) {
  Sessions sessions(store_, 30);
  const int anna = accounts_.Create("anna", "password 1", false).id;
  const int bert = accounts_.Create("bert", "password 1", false).id;
  const Session hers = sessions.Start(anna);
  const Session his = sessions.Start(bert);
  const std::string welcome = sessions.MakeWelcome(anna);
  accounts_.SetPassword(anna, "password 2");
  EXPECT_FALSE(accounts_.Authenticate("anna", "password 1"));
  EXPECT_TRUE(accounts_.Authenticate("anna", "password 2"));
  EXPECT_FALSE(sessions.Find(hers.sid));
  EXPECT_FALSE(sessions.UseWelcome(welcome));
  EXPECT_TRUE(sessions.Find(his.sid));
  EXPECT_THROW(accounts_.SetPassword(anna, "short"), std::invalid_argument);
  EXPECT_THROW(accounts_.SetPassword(77, "password 3"), std::invalid_argument);
}

TEST_F(AccountsTest, AreFoundByIdAndName) {
  accounts_.Create("anna", "password 1", false);
  accounts_.Create("bert", "password 1", true);
  EXPECT_EQ(accounts_.Find(2)->name, "bert");
  EXPECT_TRUE(accounts_.Find(2)->administrator);
  EXPECT_EQ(accounts_.FindByName("Anna")->id, 1);
  for (const int id : {0, -1, 3}) EXPECT_FALSE(accounts_.Find(id)) << id;
  EXPECT_FALSE(accounts_.FindByName("carl"));
  EXPECT_EQ(accounts_.All().size(), 2U);
}

TEST_F(AccountsTest, TakeQuotesAsText) {
  for (const std::string& quote : kQuotes) {
    EXPECT_FALSE(accounts_.FindByName(quote)) << quote;
  }
  accounts_.Create("anna' OR '1'='1", "'; DROP TABLE accounts; --", false);
  EXPECT_TRUE(accounts_.Authenticate("anna' OR '1'='1", "'; DROP TABLE accounts; --"));
  EXPECT_FALSE(accounts_.Authenticate("anna", "' OR '1'='1"));
}

TEST_F(AccountsTest, KeepNoPasswordInTheFile) {
  accounts_.Create("anna", "canary-canary", false);
  store_.Do([](soci::session& sql) {
    std::string kept;
    sql << "SELECT password FROM accounts", soci::into(kept);
    EXPECT_THAT(kept, testing::StartsWith("$argon2id$"));
    EXPECT_THAT(kept, testing::Not(testing::HasSubstr("canary")));
  });
}

}  // namespace
}  // namespace kinora::media
