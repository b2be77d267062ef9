#include "platform/media/shares.h"

#include <gtest/gtest.h>
#include <soci/soci.h>

#include <fstream>
#include <stdexcept>

#include "tests/unit/platform/media/database_file.h"

namespace kinora::media {
namespace {

namespace fs = std::filesystem;

class SharesTest : public testing::Test {
 protected:
  std::string MakeFolder(const std::string& name) {
    fs::create_directories(file_.Folder() / name);
    return fs::canonical(file_.Folder() / name);
  }
  std::string RefusalOf(const std::string& name, const std::string& path) {
    try {
      shares_.Add(name, path);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "";
  }

  DatabaseFile file_;
  Store store_{file_.Path()};
  Shares shares_{store_};
};

TEST_F(SharesTest, AreKeptWithTheirResolvedPath) {
  const std::string films = MakeFolder("films");
  fs::create_symlink(films, file_.Folder() / "link");
  const Share share = shares_.Add("Films", file_.Folder() / "link" / ".");
  EXPECT_EQ(share.id, 1);
  EXPECT_EQ(share.path, films);
  ASSERT_EQ(shares_.All().size(), 1U);
  EXPECT_EQ(shares_.All()[0].name, "Films");
}

TEST_F(SharesTest, AreReturnedAsTheyAreWhenAddedAgain) {
  const Share first = shares_.Add("Films", MakeFolder("films"));
  const Share second = shares_.Add("Other", MakeFolder("films") + "/");
  EXPECT_EQ(second.id, first.id);
  EXPECT_EQ(second.name, "Films");
}

TEST_F(SharesTest, SayWhyTheyAreRefused) {
  shares_.Add("Films", MakeFolder("a/films"));
  std::ofstream(file_.Folder() / "plain") << "x";
  EXPECT_EQ(RefusalOf("films", MakeFolder("b")), "there is a share of that name already");
  EXPECT_EQ(RefusalOf("Inner", MakeFolder("a/films/inner")), "the folder lies in the share Films");
  EXPECT_EQ(RefusalOf("Outer", MakeFolder("a")), "the folder holds the share Films");
  EXPECT_EQ(RefusalOf("Plain", file_.Folder() / "plain"), "this is no folder");
  EXPECT_EQ(RefusalOf("None", file_.Folder() / "none"),
            "the folder cannot be reached: No such file or directory");
  EXPECT_EQ(RefusalOf("Root", "/"), "the root folder cannot be a share");
  for (const std::string name : {"", ".", "..", "a/b", "a\nb", "\xff"}) {
    EXPECT_EQ(RefusalOf(name, MakeFolder("b")),
              "a share's name is 1 to 64 printable characters without a slash");
  }
  EXPECT_EQ(RefusalOf("Films 2", MakeFolder("a/films 2")), "") << "a name that only begins alike";
}

TEST_F(SharesTest, TakeTheirVideosWithThem) {
  const Share share = shares_.Add("Films", MakeFolder("films"));
  store_.Do([&](soci::session& sql) {
    sql << "INSERT INTO refused_files VALUES('/x', :share, 0, 0, 0, '')", soci::use(share.id);
  });
  EXPECT_FALSE(shares_.Remove("Other"));
  EXPECT_TRUE(shares_.Remove("Films"));
  EXPECT_TRUE(shares_.All().empty());
  store_.Do([](soci::session& sql) {
    int left = 0;
    sql << "SELECT COUNT(*) FROM refused_files", soci::into(left);
    EXPECT_EQ(left, 0);
  });
  EXPECT_TRUE(fs::exists(file_.Folder() / "films"));
}

TEST_F(SharesTest, TakeQuotesAndAnyBytesAsText) {
  const std::string path = MakeFolder("it's \"\xff\xfe\"; --");
  EXPECT_EQ(shares_.Add("it's; DROP TABLE shares", path).path, path);
  for (const std::string& quote : kQuotes) EXPECT_FALSE(shares_.Remove(quote)) << quote;
  ASSERT_EQ(shares_.All().size(), 1U);
  EXPECT_EQ(shares_.All()[0].path, path);
  EXPECT_TRUE(shares_.Remove("it's; DROP TABLE shares"));
}

}  // namespace
}  // namespace kinora::media
