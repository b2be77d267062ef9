#include "library/subtitle/cache_file.h"

#include <sys/stat.h>

#include <filesystem>

#include "tests/fakes/subtitle_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::LogTexts;

class CacheFileTest : public kinora::fakes::SubtitleTest {
 protected:
  CacheFileTest() { fs::create_directories(Cache()); }

  fs::path Cache() const { return folder_ / ".kinora" / "film.mkv"; }
  fs::path PutHere(const std::string& name, const std::string& content) const {
    return Put(Cache() / name, content, std::chrono::hours(1));
  }
  // Whether none of the operations takes the file for one of the cache; says what is logged about it.
  static std::string Refusal(const fs::path& file) {
    kinora::fakes::ClearLog();
    EXPECT_FALSE(IsOwnCacheFile(file));
    EXPECT_EQ(ReadCacheFile(file), "");
    const std::string line = LogTexts().back();
    const std::string beginning = "subtitle/cached:# cannot use " + file.string() + ": ";
    EXPECT_EQ(line.substr(0, beginning.size()), beginning);
    return line.substr(std::min(line.size(), beginning.size()));
  }
};

constexpr char kNoFolder[] = "its folder is not there, or behind a link";
constexpr char kNotOwn[] = "not a plain file of its folder's owner";

TEST_F(CacheFileTest, IsReadWhole) {
  const std::string content = std::string("a\0b\r\n\xff", 6) + std::string(300'000, 'x');
  const fs::path file = PutHere("a.srt", content);
  EXPECT_TRUE(IsOwnCacheFile(file));
  EXPECT_EQ(ReadCacheFile(file), content);
  EXPECT_EQ(ReadCacheFile(PutHere("empty.srt", "")), "");
  ExpectLog({});
}

TEST_F(CacheFileTest, ThatIsNotThereIsRefused) {
  EXPECT_EQ(Refusal(Cache() / "none.srt"), "No such file or directory");
  EXPECT_EQ(Refusal("/none/none/none/a.srt"), kNoFolder);
  EXPECT_EQ(Refusal(""), kNoFolder);
}

TEST_F(CacheFileTest, ThatIsALinkIsNotFollowed) {
  fs::create_symlink(PutHere("secret", "secret"), Cache() / "link.srt");
  EXPECT_EQ(Refusal(Cache() / "link.srt"), "Too many levels of symbolic links");
  fs::create_symlink("/nowhere", Cache() / "dangling.srt");
  EXPECT_EQ(Refusal(Cache() / "dangling.srt"), "Too many levels of symbolic links");
}

TEST_F(CacheFileTest, ThatIsAPipeIsNotWaitedFor) {
  ASSERT_EQ(::mkfifo((Cache() / "pipe.srt").c_str(), 0600), 0);
  EXPECT_EQ(Refusal(Cache() / "pipe.srt"), kNotOwn);
}

TEST_F(CacheFileTest, ThatIsAFolderIsRefused) {
  fs::create_directory(Cache() / "folder.srt");
  EXPECT_EQ(Refusal(Cache() / "folder.srt"), kNotOwn);
}

TEST_F(CacheFileTest, BehindALinkIsRefused) {
  const fs::path elsewhere = folder_ / "elsewhere";
  Put(elsewhere / "film.mkv" / "a.srt", "secret", std::chrono::hours(1));
  fs::remove_all(Cache());
  fs::create_directory_symlink(elsewhere / "film.mkv", Cache());
  EXPECT_EQ(Refusal(Cache() / "a.srt"), kNoFolder);
  fs::remove_all(folder_ / ".kinora");
  fs::create_directory_symlink(elsewhere, folder_ / ".kinora");
  EXPECT_EQ(Refusal(Cache() / "a.srt"), kNoFolder);
}

TEST_F(CacheFileTest, IsReadUpToALimit) {
  const fs::path file = PutHere("huge.srt", "x");
  fs::resize_file(file, (uintmax_t{256} << 20) + 1);  // takes no room
  EXPECT_EQ(ReadCacheFile(file), "");
  ExpectLog({"subtitle/cached:# cannot use " + file.string() + ": too large for a subtitle"});
}

TEST_F(CacheFileTest, IsCopiedToByCp) {
  const fs::path source = PutHere("source", "text");
  EXPECT_TRUE(CopyToCache(source, Cache() / "a.srt"));
  EXPECT_EQ(Content(Cache() / "a.srt"), "text");
  ExpectCalls(
      {"HLIBCExec(\"/bin/cp\", \"" + source.string() + "\", \"" + (Cache() / "a.srt").string() + "\")"});
  EXPECT_FALSE(CopyToCache(Cache() / "none", Cache() / "b.srt"));
}

TEST_F(CacheFileTest, IsRemovedIfItIsThere) {
  const fs::path file = PutHere("a.srt", "text");
  RemoveCacheFile(file);
  EXPECT_FALSE(IsThere(file));
  RemoveCacheFile(file);
  RemoveCacheFile("");
  RemoveCacheFile("/");
  ExpectLog({});
}

TEST_F(CacheFileTest, IsRemovedAsTheLinkThatItIs) {
  const fs::path secret = PutHere("secret", "secret");
  fs::create_symlink(secret, Cache() / "link.srt");
  RemoveCacheFile(Cache() / "link.srt");
  EXPECT_FALSE(IsThere(Cache() / "link.srt"));
  EXPECT_TRUE(IsThere(secret));
}

TEST_F(CacheFileTest, IsNotRemovedThroughALink) {
  const fs::path precious = PutBeside("elsewhere/a.srt", "precious");
  fs::remove_all(Cache());
  fs::create_directory_symlink(precious.parent_path(), Cache());
  RemoveCacheFile(Cache() / "a.srt");
  EXPECT_TRUE(IsThere(precious));
}

TEST_F(CacheFileTest, IsNotRemovedWhenItIsAFolder) {
  fs::create_directory(Cache() / "folder.srt");
  RemoveCacheFile(Cache() / "folder.srt");
  EXPECT_TRUE(IsThere(Cache() / "folder.srt"));
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
