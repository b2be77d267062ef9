// The database is damaged, away, full or in somebody's hands: what needs it says so, what does not goes on,
// nothing of it is lost, and all is well again when it is back.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>
#include <random>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

const fs::path kDatabase = kinora::system::kDatabaseFile;
constexpr size_t kPage = 4096;

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

Database OpenDatabase() {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(kDatabase.c_str(), &database), SQLITE_OK);
  sqlite3_busy_timeout(database, 5000);
  return Database(database);
}

void Execute(const Database& database, const char* statement) {
  EXPECT_EQ(sqlite3_exec(database.get(), statement, nullptr, nullptr, nullptr), SQLITE_OK)
      << statement << ": " << sqlite3_errmsg(database.get());
}

// Another content under the database's name; the true one comes back, as the same file, with Restore.
class Exchange {
 public:
  explicit Exchange(const std::string& content) : aside_(kDatabase.parent_path().string() + ".aside") {
    fs::rename(kDatabase.parent_path(), aside_);
    fs::create_directory(kDatabase.parent_path());
    std::ofstream(kDatabase, std::ios::binary) << content;
  }
  ~Exchange() {
    fs::remove_all(kDatabase.parent_path());
    fs::rename(aside_, kDatabase.parent_path());
  }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

 private:
  fs::path aside_;
};

std::vector<Call> CallsThatNeedIt(const SignedIn& who, const std::string& stream) {
  return {{"Session", "whoami", {}, "GET", who.sid},
          {"Session", "sign_in", {{"user", "bob"}, {"password", PasswordOf("bob")}}, "POST"},
          {"Catalog", "list", {}, "GET", who.sid},
          {"Film", "picture", {{"id", "1"}}, "GET", who.sid},
          {"Stream", "open", {{"id", "1"}, {"format", "raw"}}, "POST", who.sid, who.token},
          {"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", who.sid}};
}

class DatabaseFault : public testing::Test {
 protected:
  DatabaseFault() {
    ann_ = house_.SignIn("ann");
    stream_ = house_.OpenStream(ann_, house_.FilmId(ann_, "h264_aac.mp4"));
    Execute(OpenDatabase(), "PRAGMA wal_checkpoint(TRUNCATE)");
    content_ = ReadWhole(kDatabase);
    share_ = DigestOf(house_.Share());
  }

  void ExpectRefusals() const {
    for (const Call& call : CallsThatNeedIt(ann_, stream_)) {
      const Reply reply = house_.Send(call);
      EXPECT_EQ(reply.status, 503) << call.method << reply.body;
      EXPECT_EQ(reply.body, R"({"error":{"code":129,"message":"The database cannot answer"}})")
          << call.method;
    }
    EXPECT_EQ(Fetch(house_.Port(), "GET", "/no-such-page", {}).status, 404) << "the front goes on";
    EXPECT_EQ(CodeOf(house_.Send({"Nothing", "at_all"})), 121) << "what asks no database goes on";
    EXPECT_EQ(house_.Send({"Stream", "stream", {}, "OPTIONS"}).status, 204);
  }

  void ExpectRecovery() const {
    EXPECT_EQ(CodeOf(house_.Send({"Session", "whoami", {}, "GET", ann_.sid})), 0);
    EXPECT_GT(house_.SignIn("bob").account, 0);
    EXPECT_EQ(house_.Stream(ann_, stream_).body, ReadWhole(house_.Share() / "h264_aac.mp4"));
    EXPECT_EQ(CodeOf(house_.Open(ann_, house_.FilmId(ann_, "h264_aac.mp4"))), 0);
    EXPECT_EQ(DigestOf(house_.Share()), share_);
    EXPECT_EQ(StreamLinks().size(), 2U) << "the two that were opened";
  }

  void ExpectRefusalsWith(const std::string& content, const char* what) const {
    SCOPED_TRACE(what);
    {
      const Exchange exchange(content);
      ExpectRefusals();
      EXPECT_TRUE(ReadWhole(kDatabase) == content) << "it is kept as it is";
    }
  }

  const House house_;
  SignedIn ann_;
  std::string stream_;
  std::string content_;
  std::string share_;
};

std::string WithGarbage(std::string content, size_t from, unsigned int seed) {
  std::minstd_rand random(seed);
  for (size_t i = from; i < content.size(); ++i) content[i] = static_cast<char>(random());
  return content;
}

}  // namespace

TEST_F(DatabaseFault, IsAnErrorAndKeepsTheFileWhenItIsDamaged) {
  ExpectRefusalsWith("", "empty");
  ExpectRefusalsWith(content_.substr(0, 50), "cut within its head");
  ExpectRefusalsWith(content_.substr(0, kPage), "cut after a page");
  ExpectRefusalsWith(WithGarbage(content_, 0, 1), "nothing but garbage");
  ExpectRefusalsWith(WithGarbage(content_, 100, 2), "garbage behind its head");
  ExpectRefusalsWith(std::string(content_.size(), '\0'), "zeros");
  ExpectRecovery();
}

TEST_F(DatabaseFault, GivesNoWrongAnswerWhenSomePagesAreDamaged) {
  for (unsigned int seed = 1; seed <= 20; ++seed) {
    std::minstd_rand random(seed);
    std::string content = content_;
    for (size_t page = 1; page < content.size() / kPage; ++page) {
      if (random() % 2 != 0)
        content.replace(page * kPage, kPage, WithGarbage(std::string(kPage, 'x'), 0, seed));
    }
    const Exchange exchange(content);
    for (const Call& call : CallsThatNeedIt(ann_, stream_)) {
      if (call.method == "open") continue;  // would leave a stream behind where it can
      const Reply reply = house_.Send(call);
      const bool fails = reply.status == 503 && CodeOf(reply) == 129;
      // A page that still reads well answers; where its index is gone, there is nothing to be found.
      EXPECT_TRUE(fails || reply.status == 200 || reply.status == 401 || reply.status == 404)
          << seed << " " << call.method << " " << reply.status << reply.body.substr(0, 200);
    }
  }
  ExpectRecovery();
}

TEST_F(DatabaseFault, WithSomethingElseInItsPlaceIsAnError) {
  const fs::path aside = kDatabase.parent_path().string() + ".aside";
  fs::rename(kDatabase.parent_path(), aside);
  std::ofstream(kDatabase.parent_path()) << "a file where the folder was";
  ExpectRefusals();
  fs::remove(kDatabase.parent_path());
  fs::create_directories(kDatabase);
  ExpectRefusals();
  fs::remove_all(kDatabase.parent_path());
  fs::create_symlink("/nowhere/at/all", kDatabase.parent_path());
  ExpectRefusals();
  EXPECT_FALSE(fs::exists("/nowhere"));
  fs::remove(kDatabase.parent_path());
  fs::rename(aside, kDatabase.parent_path());
  ExpectRecovery();
}

TEST_F(DatabaseFault, HeldByAnotherProgramLetsReadersReadAndWritersWaitTheirTime) {
  const Database other = OpenDatabase();
  Execute(other, "BEGIN IMMEDIATE");
  EXPECT_EQ(CodeOf(house_.Send({"Session", "whoami", {}, "GET", ann_.sid})), 0);
  EXPECT_EQ(house_.Stream(ann_, stream_, {"Range: bytes=0-9"}).status, 206);
  const Reply reply =
      house_.Send({"Session", "sign_in", {{"user", "bob"}, {"password", PasswordOf("bob")}}, "POST"});
  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(CodeOf(reply), 129);
  EXPECT_EQ(reply.Count("Set-Cookie"), 0U);
  Execute(other, "ROLLBACK");
  ExpectRecovery();
}

TEST_F(DatabaseFault, OnAFullVolumeIsAnErrorUntilThereIsRoom) {
  {
    const fs::path copy = kinora::system::InVar("copy");
    fs::copy(kDatabase.parent_path(), copy);
    const SmallVolume volume(kDatabase.parent_path(), "1M");
    if (!volume) GTEST_SKIP() << "nothing can be mounted here";
    fs::copy(copy, kDatabase.parent_path(), fs::copy_options::recursive);
    volume.Fill();
    const Reply reply =
        house_.Send({"Session", "sign_in", {{"user", "bob"}, {"password", PasswordOf("bob")}}, "POST"});
    EXPECT_EQ(reply.status, 503) << reply.body;
    EXPECT_EQ(CodeOf(reply), 129);
    volume.Relieve();
    EXPECT_GT(house_.SignIn("bob").account, 0);
    EXPECT_EQ(CodeOf(house_.Send({"Session", "whoami", {}, "GET", ann_.sid})), 0) << "nothing is lost";
  }
  ExpectRecovery();
}
