#include "platform/media/sessions.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <ctime>

#include "platform/media/accounts.h"
#include "platform/media/secrets.h"
#include "tests/unit/platform/media/database_file.h"

namespace kinora::media {
namespace {

constexpr long long kDay = 24 * 60 * 60;

class SessionsTest : public testing::Test {
 protected:
  SessionsTest() { account_ = Accounts(store_).Create("anna", "password 1", false).id; }

  // As if the clock had been `seconds` earlier when the row was written.
  void Age(const std::string& table, const std::string& column, long long seconds) {
    store_.Do([&](soci::session& sql) {
      sql << "UPDATE " + table + " SET " + column + " = " + column + " - :seconds", soci::use(seconds);
    });
  }
  long long LastUsed() {
    return store_.Do([](soci::session& sql) {
      long long time = 0;
      sql << "SELECT last_used FROM sessions", soci::into(time);
      return time;
    });
  }

  DatabaseFile file_;
  Store store_{file_.Path()};
  Sessions sessions_{store_, 30};
  int account_ = 0;
};

TEST_F(SessionsTest, AreFoundByTheirSid) {
  const Session started = sessions_.Start(account_);
  const auto found = sessions_.Find(started.sid);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->account, account_);
  EXPECT_EQ(found->sid, started.sid);
  EXPECT_EQ(found->token, started.token);
  EXPECT_NE(started.sid, started.token);
}

TEST_F(SessionsTest, HaveANewSidEachTime) {
  EXPECT_NE(sessions_.Start(account_).sid, sessions_.Start(account_).sid);
}

TEST_F(SessionsTest, AreNotFoundByAnythingElse) {
  const Session session = sessions_.Start(account_);
  EXPECT_FALSE(sessions_.Find(""));
  EXPECT_FALSE(sessions_.Find(MakeSecret()));
  EXPECT_FALSE(sessions_.Find(session.token));
  EXPECT_FALSE(sessions_.Find(DigestOf(session.sid)));
  for (const std::string& quote : kQuotes) EXPECT_FALSE(sessions_.Find(quote)) << quote;
}

TEST_F(SessionsTest, TellTheirTokenFromOthers) {
  const Session session = sessions_.Start(account_);
  EXPECT_TRUE(TokenMatches(session, session.token));
  EXPECT_FALSE(TokenMatches(session, sessions_.Start(account_).token));
  EXPECT_FALSE(TokenMatches(session, ""));
}

TEST_F(SessionsTest, AreFoundWhenTheDatabaseCannotBeWritten) {
  const Session session = sessions_.Start(account_);
  Age("sessions", "last_used", 2LL * 60 * 60);
  store_.Do([](soci::session& sql) { sql << "PRAGMA query_only = ON"; });
  EXPECT_TRUE(sessions_.Find(session.sid));
  store_.Do([](soci::session& sql) { sql << "PRAGMA query_only = OFF"; });
  const long long before = LastUsed();
  EXPECT_TRUE(sessions_.Find(session.sid));
  EXPECT_GT(LastUsed(), before);
}

TEST_F(SessionsTest, EndWhenAsked) {
  const Session session = sessions_.Start(account_);
  sessions_.End("not one");
  EXPECT_TRUE(sessions_.Find(session.sid));
  sessions_.End(session.sid);
  EXPECT_FALSE(sessions_.Find(session.sid));
}

TEST_F(SessionsTest, EndWhenUnusedForTheirDays) {
  const Session session = sessions_.Start(account_);
  Age("sessions", "last_used", 30 * kDay - 60);
  EXPECT_TRUE(sessions_.Find(session.sid)) << "and its end moves on";
  Age("sessions", "last_used", 30 * kDay + 60);
  EXPECT_FALSE(sessions_.Find(session.sid));
}

TEST_F(SessionsTest, AreWrittenAtMostOnceAnHour) {
  const Session session = sessions_.Start(account_);
  Age("sessions", "last_used", 3000);
  const long long before = LastUsed();
  sessions_.Find(session.sid);
  EXPECT_EQ(LastUsed(), before);
  Age("sessions", "last_used", 700);
  sessions_.Find(session.sid);
  EXPECT_GE(LastUsed(), before + 2900);
}

TEST_F(SessionsTest, SurviveAClockSetBack) {
  const Session session = sessions_.Start(account_);
  Age("sessions", "last_used", -3650 * kDay);
  EXPECT_TRUE(sessions_.Find(session.sid));
  EXPECT_LE(LastUsed(), std::time(nullptr)) << "and do not live ten years longer for it";
}

TEST_F(SessionsTest, KeepNoSecretInTheFile) {
  const Session session = sessions_.Start(account_);
  store_.Do([&](soci::session& sql) {
    std::string kept;
    sql << "SELECT digest FROM sessions", soci::into(kept);
    EXPECT_EQ(kept, DigestOf(session.sid));
  });
}

TEST_F(SessionsTest, EndWithTheirAccount) {
  const Session session = sessions_.Start(account_);
  store_.Do([](soci::session& sql) { sql << "DELETE FROM accounts"; });
  EXPECT_FALSE(sessions_.Find(session.sid));
}

TEST_F(SessionsTest, CannotBeStartedForNobody) {
  EXPECT_THROW(sessions_.Start(0), LibKinora::db::Failure);
  EXPECT_THROW(sessions_.Start(-1), LibKinora::db::Failure);
}

TEST_F(SessionsTest, WelcomeSignsInOnce) {
  const std::string secret = sessions_.MakeWelcome(account_);
  EXPECT_EQ(sessions_.UseWelcome(secret), account_);
  EXPECT_EQ(sessions_.UseWelcome(secret), std::nullopt);
  EXPECT_EQ(sessions_.UseWelcome(MakeSecret()), std::nullopt);
  for (const std::string& quote : kQuotes) EXPECT_EQ(sessions_.UseWelcome(quote), std::nullopt);
}

TEST_F(SessionsTest, WelcomeEndsAfterTenMinutes) {
  const std::string secret = sessions_.MakeWelcome(account_);
  Age("welcomes", "made", 601);
  EXPECT_EQ(sessions_.UseWelcome(secret), std::nullopt);
}

TEST_F(SessionsTest, WelcomeFromTheFutureSignsNobodyIn) {
  const std::string secret = sessions_.MakeWelcome(account_);
  Age("welcomes", "made", -kDay);
  EXPECT_EQ(sessions_.UseWelcome(secret), std::nullopt);
}

}  // namespace
}  // namespace kinora::media
