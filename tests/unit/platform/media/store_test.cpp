#include "platform/media/store.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <random>

#include "platform/media/migrations.h"
#include "tests/unit/platform/media/database_file.h"

namespace kinora::media {
namespace {

using LibKinora::db::Failure;

unsigned int ModeOf(const std::filesystem::path& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

std::string Content(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void Replace(const std::filesystem::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

int CountShares(Store& store) {
  return store.Do([](soci::session& sql) {
    int count = 0;
    sql << "SELECT COUNT(*) FROM shares", soci::into(count);
    return count;
  });
}

void AddShare(Store& store, const std::string& name) {
  const std::string path = "/" + name;
  store.Change([&](soci::session& sql) {
    sql << "INSERT INTO shares(name, path) VALUES(:name, :path)", soci::use(name), soci::use(path);
  });
}

// A database large enough that damage in its middle is met by a reader of one table.
void Fill(Store& store) {
  store.Change([](soci::session& sql) {
    sql << "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
           "INSERT INTO shares(name, path) SELECT 'share ' || i, '/path/' || i FROM n";
  });
}

// The message of the Failure with which the database is refused, by opening or by reading it all.
std::string RefusalOf(const std::filesystem::path& path) {
  try {
    Store store(path);
    store.Do([](soci::session& sql) {
      std::string all;
      sql << "SELECT group_concat(name || path) FROM shares", soci::into(all);
    });
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "";
}

class StoreTest : public testing::Test {
 protected:
  DatabaseFile file_;
};

TEST_F(StoreTest, MakesTheDatabaseForItsOwnerAlone) {
  ::umask(0);
  Store store(file_.Path());
  EXPECT_EQ(ModeOf(file_.Path()), 0600U);
  EXPECT_EQ(ModeOf(file_.Path().parent_path()), 0700U);
  AddShare(store, "films");
  EXPECT_EQ(ModeOf(file_.Path().string() + "-wal"), 0600U);
}

TEST_F(StoreTest, KeepsWhatWasWrittenForTheNextOpening) {
  { AddShare(*std::make_unique<Store>(file_.Path()), "films"); }
  Store store(file_.Path());
  EXPECT_EQ(CountShares(store), 1);
}

TEST_F(StoreTest, UsesAWriteAheadLogAndForeignKeys) {
  Store store(file_.Path());
  store.Do([](soci::session& sql) {
    std::string mode;
    int keys = 0;
    sql << "PRAGMA journal_mode", soci::into(mode);
    sql << "PRAGMA foreign_keys", soci::into(keys);
    EXPECT_EQ(mode, "wal");
    EXPECT_EQ(keys, 1);
  });
}

TEST_F(StoreTest, LeavesNoScratchFileBesideANewDatabase) {
  { Store store(file_.Path()); }
  const auto entries = std::filesystem::directory_iterator(file_.Path().parent_path());
  EXPECT_EQ(std::distance(entries, {}), 1);
}

TEST_F(StoreTest, RollsAChangeBackWhenTheWorkThrows) {
  Store store(file_.Path());
  EXPECT_THROW(store.Change([](soci::session& sql) {
    sql << "INSERT INTO shares(name, path) VALUES('a', '/a')";
    throw std::runtime_error("no");
  }),
               std::runtime_error);
  EXPECT_EQ(CountShares(store), 0);
  AddShare(store, "b");
  EXPECT_EQ(CountShares(store), 1);
}

TEST_F(StoreTest, ReportsAFailedStatementWithoutItsValues) {
  Store store(file_.Path());
  try {
    AddShare(store, "secret");
    AddShare(store, "secret");
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), testing::Not(testing::HasSubstr("secret")));
    EXPECT_THAT(failure.what(), testing::HasSubstr("UNIQUE"));
  }
}

TEST_F(StoreTest, IsMadeOnceWhenManyProcessesOpenItAtTheSameTime) {
  constexpr int kProcesses = 12;
  int gate[2];
  ASSERT_EQ(::pipe(gate), 0);
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::close(gate[1]);
      char byte = 0;
      static_cast<void>(!::read(gate[0], &byte, 1));  // until the gate opens
      int status = 1;
      try {
        Store store(file_.Path());
        AddShare(store, "share " + std::to_string(i));
        status = 0;
      } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
      }
      ::_exit(status);
    }
    children.push_back(child);
  }
  ::close(gate[0]);
  ::close(gate[1]);
  for (const pid_t child : children) {
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  Store store(file_.Path());
  EXPECT_EQ(CountShares(store), kProcesses);
}

TEST_F(StoreTest, BringsAnOlderSchemaUpToDateAndKeepsItsRows) {
  std::filesystem::create_directory(file_.Path().parent_path());
  {
    soci::session old(soci::sqlite3, "dbname=\"" + file_.Path().string() + "\"");
    std::string first(Migrations()[0]);
    for (size_t end; (end = first.find(";\n")) != std::string::npos; first.erase(0, end + 2)) {
      old << first.substr(0, end);
    }
    old << "INSERT INTO accounts(name, name_key, password, administrator, created) VALUES('a','a','x',0,0)";
    old << "PRAGMA user_version = 1";
  }
  Store store(file_.Path());
  EXPECT_EQ(CountShares(store), 0);
  store.Do([](soci::session& sql) {
    int accounts = 0;
    int number = 0;
    sql << "SELECT COUNT(*) FROM accounts", soci::into(accounts);
    sql << "PRAGMA user_version", soci::into(number);
    EXPECT_EQ(accounts, 1);
    EXPECT_EQ(number, static_cast<int>(Migrations().size()));
  });
}

TEST_F(StoreTest, RefusesANewerSchemaAndLeavesItAsItIs) {
  {
    Store(file_.Path()).Do([](soci::session& sql) { sql << "PRAGMA user_version = 900"; });
  }
  const std::string before = Content(file_.Path());
  EXPECT_EQ(RefusalOf(file_.Path()), "the database has schema 900, this program knows " +
                                         std::to_string(Migrations().size()) +
                                         ": it was made by a newer Kinora");
  EXPECT_EQ(Content(file_.Path()), before);
}

TEST_F(StoreTest, RefusesADatabaseOfAnotherProgram) {
  std::filesystem::create_directory(file_.Path().parent_path());
  { soci::session(soci::sqlite3, "dbname=\"" + file_.Path().string() + "\"") << "CREATE TABLE t(a)"; }
  const std::string before = Content(file_.Path());
  EXPECT_EQ(RefusalOf(file_.Path()), "the database has no schema of Kinora's");
  EXPECT_EQ(Content(file_.Path()), before);
}

TEST_F(StoreTest, RefusesDamagedFilesAndKeepsThem) {
  {
    Store store(file_.Path());
    Fill(store);
  }
  const std::string whole = Content(file_.Path());
  ASSERT_GT(whole.size(), 100'000U);
  std::mt19937 random(7);
  std::string noise(whole.size(), '\0');
  for (char& c : noise) c = static_cast<char>(random());
  std::string pages = whole;  // all but the first page, which the opening reads
  pages.replace(4096, whole.size() - 4096, noise, 0, whole.size() - 4096);

  const std::pair<const char*, std::string> damages[] = {
      {"empty", ""},
      {"random", noise},
      {"random behind the first page", pages},
      {"zeros", std::string(whole.size(), '\0')},
      {"half", whole.substr(0, whole.size() / 2)},
      {"half a page", whole.substr(0, 2048)},
      {"a few bytes", whole.substr(0, 20)},
      {"the beginning of its head", whole.substr(0, 50)},
      {"text", "this is no database\n"},
  };
  for (const auto& [name, content] : damages) {
    SCOPED_TRACE(name);
    Replace(file_.Path(), content);
    EXPECT_NE(RefusalOf(file_.Path()), "");
    EXPECT_EQ(Content(file_.Path()), content);
  }
  Replace(file_.Path(), whole);  // nothing stays behind that would harm the right one
  EXPECT_EQ(RefusalOf(file_.Path()), "");
}

TEST_F(StoreTest, RefusesWhatIsNoPlainFile) {
  std::filesystem::create_directories(file_.Path());
  EXPECT_THROW(Store{file_.Path()}, Failure);
}

TEST_F(StoreTest, RefusesToBeginAnewOverTheLogOfALostDatabase) {
  std::filesystem::create_directory(file_.Path().parent_path());
  Replace(file_.Path().string() + "-wal", "what is left");
  EXPECT_THAT(RefusalOf(file_.Path()), testing::HasSubstr("-wal is there: move it away to begin anew"));
  EXPECT_EQ(Content(file_.Path().string() + "-wal"), "what is left");
}

TEST_F(StoreTest, ThrowsWhenItsFolderCannotBeMade) { EXPECT_THROW(Store("/proc/none/kinora.db"), Failure); }

TEST_F(StoreTest, WaitsFiveSecondsForALockAndThenThrows) {
  Store store(file_.Path());
  Store other(file_.Path());
  other.Do([](soci::session& sql) { sql << "BEGIN IMMEDIATE"; });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THROW(AddShare(store, "a"), Failure);
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(4500));
  EXPECT_LT(waited, std::chrono::seconds(8));
  EXPECT_EQ(CountShares(store), 0) << "readers go on";
  other.Do([](soci::session& sql) { sql << "ROLLBACK"; });
  AddShare(store, "a");
  EXPECT_EQ(CountShares(store), 1);
}

TEST_F(StoreTest, BelongsToTheOwnerOfTheFolderWhenRootMakesIt) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root";
  if (::chown(file_.Folder().c_str(), 12345, 12345) != 0) GTEST_SKIP() << "this view maps one id only";
  Store store(file_.Path());
  AddShare(store, "films");
  for (const std::string suffix : {"", "-wal", "-shm"}) {
    struct stat info {};
    ASSERT_EQ(::stat((file_.Path().string() + suffix).c_str(), &info), 0) << suffix;
    EXPECT_EQ(info.st_uid, 12345U) << suffix;
    EXPECT_EQ(info.st_gid, 12345U) << suffix;
  }
}

}  // namespace
}  // namespace kinora::media
