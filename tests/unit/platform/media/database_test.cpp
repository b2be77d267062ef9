#include "contract/media/database.h"

#include <gtest/gtest.h>
#include <soci/soci.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "platform/media/secrets.h"
#include "platform/media/store.h"
#include "platform/system/places.h"
#include "tests/unit/platform/media/database_file.h"

namespace LibKinora::db::api {
namespace {

using kinora::media::kQuotes;

// The database at its fixed place, with two accounts and one share of four files.
class DatabaseTest : public testing::Test {
 protected:
  DatabaseTest() {
    std::filesystem::remove_all(std::filesystem::path(kinora::system::kDatabaseFile).parent_path());
    store_ = std::make_unique<kinora::media::Store>(kinora::system::kDatabaseFile);
    for (const std::string name : {"anna", "bert"}) {
      Execute("INSERT INTO accounts(name, name_key, password, administrator, created) VALUES('" + name +
              "','" + name + "','x',0,0)");
    }
    Execute("INSERT INTO shares(name, path) VALUES('Films', '/films')");
    AddFile("", "a.mp4", "mp4");
    AddFile("kids", "b.mkv", "mkv");
    AddFile("kids/more", "c.mkv", "");
    AddFile("kids2", "d.mkv", "mkv");
  }
  void Execute(const std::string& statement) {
    store_->Do([&](soci::session& sql) { sql << statement; });
  }
  void AddFile(const std::string& folder, const std::string& name, const std::string& container) {
    const std::string path = "/films/" + (folder.empty() ? name : folder + "/" + name);
    store_->Do([&](soci::session& sql) {
      sql << "INSERT INTO files(share, path, folder, size, modified_ns, inode, marks, added, title, "
             "sort_key, "
             "search_text, container, video_codec, audio_codec, duration_ms, width, height, bitrate) "
             "VALUES(1, :path, :folder, 1, 1, 1, '', 1, '', '', '', :container, '', '', 0, 0, 0, 0)",
          soci::use(path), soci::use(folder), soci::use(container);
    });
  }
  void Share(const std::string& id, int owner, const std::string& expires, int revoked) {
    Execute("INSERT INTO collections(sharing_id, owner, title, made, expires, revoked) VALUES('" + id + "'," +
            std::to_string(owner) + ",'',0," + expires + "," + std::to_string(revoked) + ")");
  }

  std::unique_ptr<kinora::media::Store> store_;
};

using FileApiTest = DatabaseTest;
using CollectionApiTest = DatabaseTest;
using ParentalControlTest = DatabaseTest;

TEST_F(FileApiTest, FindsAFileByItsId) {
  const record::File file = FileAPI().GetFile(2);
  EXPECT_EQ(file.id, 2);
  EXPECT_EQ(file.path, "/films/kids/b.mkv");
  EXPECT_EQ(file.container, "mkv");
}

TEST_F(FileApiTest, FindsAFileByExactlyItsPath) {
  const FileAPI api;
  EXPECT_EQ(api.GetFileByPath("/films/a.mp4").id, 1);
  EXPECT_EQ(api.GetFileByPath("/films/kids/more/c.mkv").container, "");
  for (const char* path :
       {"/films/A.mp4", "/films//a.mp4", "/films/a.mp4/", "a.mp4", "", "/films/kids/../a.mp4"}) {
    EXPECT_LT(api.GetFileByPath(path).id, 1) << path;
  }
}

TEST_F(FileApiTest, GivesAnEmptyRecordForAnUnknownId) {
  for (const int id : {0, -1, 5, 2147483647, -2147483647 - 1}) {
    const record::File file = FileAPI().GetFile(id);
    EXPECT_LT(file.id, 1) << id;
    EXPECT_EQ(file.path, "") << id;
  }
}

TEST_F(FileApiTest, TakesQuotesAndAnyBytesAsText) {
  for (const std::string& quote : kQuotes) {
    EXPECT_LT(FileAPI().GetFileByPath(quote).id, 1) << quote;
    AddFile("", "x" + quote, "mp4");
    EXPECT_EQ(FileAPI().GetFileByPath("/films/x" + quote).path, "/films/x" + quote);
  }
}

TEST_F(FileApiTest, SeesWhatIsWrittenLater) {
  const FileAPI api;
  EXPECT_LT(api.GetFile(5).id, 1);
  AddFile("", "e.mp4", "mp4");
  EXPECT_EQ(api.GetFile(5).path, "/films/e.mp4");
}

TEST_F(FileApiTest, ThrowsFailureAndKeepsTheFileWhenItIsDamaged) {
  store_.reset();
  const std::string damage = "this is no database";
  std::ofstream(kinora::system::kDatabaseFile, std::ios::trunc) << damage;
  EXPECT_NO_THROW(FileAPI{}) << "nothing is opened before it is asked";
  EXPECT_THROW(FileAPI().GetFile(1), Failure);
  EXPECT_THROW(FileAPI().GetFileByPath("/films/a.mp4"), Failure);
  EXPECT_THROW(CollectionAPI(0).GetInfo("x"), Failure);
  EXPECT_THROW(ParentalControl(1).IsFileAllowed(1), Failure) << "a broken database opens nothing";
  EXPECT_THROW(ParentalControl(1).IsPinCorrect("1234"), Failure);
  EXPECT_EQ(std::filesystem::file_size(kinora::system::kDatabaseFile), damage.size());
}

TEST_F(CollectionApiTest, FindsTheOwnerOfASharedCollection) {
  Share("abc", 2, "NULL", 0);
  const record::Collection found = CollectionAPI(0).GetInfo("abc");
  EXPECT_TRUE(found.IsValid());
  EXPECT_EQ(found.owner, 2U);
  EXPECT_EQ(found.sharing_id, "abc");
  EXPECT_TRUE(CollectionAPI(2).GetInfo("abc").IsValid());
  EXPECT_FALSE(CollectionAPI(1).GetInfo("abc").IsValid()) << "another's";
}

TEST_F(CollectionApiTest, GivesNoneForWhatIsUnknownExpiredOrRevoked) {
  const std::string now = std::to_string(std::time(nullptr));
  Share("expired", 1, now + " - 1", 0);
  Share("later", 1, now + " + 100", 0);
  Share("revoked", 1, "NULL", 1);
  EXPECT_TRUE(CollectionAPI(0).GetInfo("later").IsValid());
  for (const char* id : {"expired", "revoked", "unknown", "LATER", ""}) {
    EXPECT_FALSE(CollectionAPI(0).GetInfo(id).IsValid()) << id;
  }
  for (const std::string& quote : kQuotes) EXPECT_FALSE(CollectionAPI(0).GetInfo(quote).IsValid()) << quote;
}

TEST_F(ParentalControlTest, AllowsWhatNoRuleBlocks) {
  for (const int file : {1, 2, 3, 4}) EXPECT_TRUE(ParentalControl(1).IsFileAllowed(file)) << file;
}

TEST_F(ParentalControlTest, BlocksAFileForOneAccount) {
  Execute("INSERT INTO blocked_files VALUES(1, 2)");
  EXPECT_FALSE(ParentalControl(1).IsFileAllowed(2));
  EXPECT_TRUE(ParentalControl(1).IsFileAllowed(3));
  EXPECT_TRUE(ParentalControl(2).IsFileAllowed(2));
}

TEST_F(ParentalControlTest, BlocksAFolderAndAllBelowIt) {
  Execute("INSERT INTO blocked_folders VALUES(1, 1, 'kids')");
  const ParentalControl control(1);
  EXPECT_TRUE(control.IsFileAllowed(1));
  EXPECT_FALSE(control.IsFileAllowed(2));
  EXPECT_FALSE(control.IsFileAllowed(3));
  EXPECT_TRUE(control.IsFileAllowed(4)) << "a folder whose name only begins alike";
  EXPECT_TRUE(ParentalControl(2).IsFileAllowed(2));
}

TEST_F(ParentalControlTest, BlocksAWholeShare) {
  Execute("INSERT INTO blocked_folders VALUES(1, 1, '')");
  for (const int file : {1, 2, 3, 4}) EXPECT_FALSE(ParentalControl(1).IsFileAllowed(file)) << file;
}

TEST_F(ParentalControlTest, KnowsTheRightPin) {
  const std::string hash = kinora::media::HashPassword("1234");
  Execute("INSERT INTO parental_pins VALUES(1, '" + hash + "')");
  const ParentalControl control(1);
  EXPECT_TRUE(control.IsPinCorrect("1234"));
  for (const std::string& pin : {std::string("1235"), std::string("12345"), std::string("123"), std::string(),
                                 std::string("1234\0", 5), std::string(100'000, '1')}) {
    EXPECT_FALSE(control.IsPinCorrect(pin)) << pin.size();
  }
}

TEST_F(ParentalControlTest, HasNoRightPinForAnAccountWithoutOne) {
  for (const char* pin : {"", "1234", "0"}) EXPECT_FALSE(ParentalControl(2).IsPinCorrect(pin)) << pin;
  EXPECT_FALSE(ParentalControl(4294967295U).IsPinCorrect("1234"));
}

TEST_F(ParentalControlTest, CopiesShareOneOpenDatabase) {
  const ParentalControl control(1);
  const ParentalControl copy = control;  // NOLINT(performance-unnecessary-copy-initialization)
  Execute("INSERT INTO blocked_files VALUES(1, 2)");
  EXPECT_FALSE(control.IsFileAllowed(2));
  EXPECT_FALSE(copy.IsFileAllowed(2));
}

}  // namespace
}  // namespace LibKinora::db::api
