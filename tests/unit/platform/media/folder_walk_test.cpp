#include "platform/media/folder_walk.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

#include "tests/unit/platform/media/film_folder.h"

namespace kinora::media {
namespace {

using testing::UnorderedElementsAre;

std::vector<std::string> NamesIn(const std::string& path) {
  std::vector<std::string> names;
  for (const FoundFile& file : WalkFolder(path, [](int64_t) {}).files) names.push_back(file.name);
  return names;
}

TEST(HasVideoName, GoesByTheExtensionWithoutRegardToCase) {
  for (const char* name : {"a.mp4", "a.MKV", "a.b.WebM", "ä.m2ts", "x.ts", " .mov"}) {
    EXPECT_TRUE(HasVideoName(name)) << name;
  }
  for (const char* name :
       {"", "mp4", ".mp4", ".a.mp4", "a.mp4.part", "a.mp3", "a.srt", "a.", "mp4.a", "a.mp4 "}) {
    EXPECT_FALSE(HasVideoName(name)) << name;
  }
}

TEST(LiesBelow, ComparesWholeNames) {
  EXPECT_TRUE(LiesBelow("a/b", "a"));
  EXPECT_TRUE(LiesBelow("a", ""));
  EXPECT_FALSE(LiesBelow("a", "a"));
  EXPECT_FALSE(LiesBelow("ab/c", "a"));
}

TEST(WalkFolder, FindsVideosAtAnyDepthWithWhatTellsThemApart) {
  const FilmFolder films;
  films.Put("one.mp4", "12345");
  films.Put("a/b/c/two.MKV");
  films.Put("a/notes.txt");
  const FolderWalk walk = WalkFolder(films.Path(), [](int64_t) {});
  EXPECT_TRUE(walk.opened);
  EXPECT_TRUE(walk.unread.empty());
  ASSERT_EQ(walk.files.size(), 2U);
  const FoundFile& one = walk.files[walk.files[0].name == "one.mp4" ? 0 : 1];
  struct stat info {};
  ASSERT_EQ(::stat(films.In("one.mp4").c_str(), &info), 0);
  EXPECT_EQ(one.size, 5);
  EXPECT_EQ(one.modified_ns, info.st_mtim.tv_sec * 1'000'000'000 + info.st_mtim.tv_nsec);
  EXPECT_EQ(one.inode, static_cast<int64_t>(info.st_ino));
}

TEST(WalkFolder, TellsOfEachFolderBeforeItIsRead) {
  const FilmFolder films;
  films.Put("a/b/c/one.mp4");
  std::vector<std::string> folders;
  const auto enter = [&](const std::string& folder) {
    folders.push_back(folder);
    if (folder == "a") films.Put("a/new/two.mp4");
    if (folder == "a/b/c") films.Put("a/b/c/three.mp4");
  };
  const FolderWalk walk = WalkFolder(
      films.Path(), [](int64_t) {}, enter);
  EXPECT_THAT(folders, UnorderedElementsAre("", "a", "a/b", "a/b/c", "a/new"));
  EXPECT_EQ(walk.files.size(), 3U);
}

TEST(WalkFolder, TakesAnyDateForATime) {
  const FilmFolder films;
  films.Put("a.mp4");
  for (const time_t date : {time_t{40'000'000'000}, time_t{-40'000'000'000}}) {
    const timespec times[] = {{date, 0}, {date, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, films.In("a.mp4").c_str(), times, 0), 0);
    const FolderWalk walk = WalkFolder(films.Path(), [](int64_t) {});
    ASSERT_EQ(walk.files.size(), 1U);
    EXPECT_EQ(walk.files[0].modified_ns > 0, date > 0) << date;
  }
}

TEST(WalkFolder, KeepsNamesInAnyBytes) {
  const FilmFolder films;
  const std::string names[] = {"caf\xe9.mp4", "a\r\nSet-Cookie: x.mp4", "東京/映画.mkv", "\xff\xfe/\x01.avi",
                               "'; --.mp4"};
  for (const std::string& name : names) films.Put(name);
  EXPECT_THAT(NamesIn(films.Path()), testing::UnorderedElementsAreArray(names));
}

TEST(WalkFolder, LeavesOutHiddenNames) {
  const FilmFolder films;
  films.Put(".kinora/film.mp4/cached.mp4");
  films.Put(".hidden/a.mp4");
  films.Put("._a.mp4");
  films.Put("a.mp4");
  EXPECT_THAT(NamesIn(films.Path()), UnorderedElementsAre("a.mp4"));
}

TEST(WalkFolder, FollowsNoLinks) {
  const FilmFolder films;
  const FilmFolder outside;
  outside.Put("secret.mp4");
  films.Put("in/a.mp4");
  std::filesystem::create_symlink(outside.Path(), films.In("folder"));
  std::filesystem::create_symlink(outside.In("secret.mp4"), films.In("file.mp4"));
  std::filesystem::create_symlink(films.In("in"), films.In("again"));
  std::filesystem::create_symlink("..", films.In("in/loop"));
  std::filesystem::create_symlink("nowhere", films.In("dangling.mp4"));
  EXPECT_THAT(NamesIn(films.Path()), UnorderedElementsAre("in/a.mp4"));
}

TEST(WalkFolder, TakesPlainFilesOnly) {
  const FilmFolder films;
  ASSERT_EQ(::mkfifo(films.In("pipe.mp4").c_str(), 0600), 0);
  std::filesystem::create_directory(films.In("folder.mp4"));
  films.Put("folder.mp4/a.mp4");
  EXPECT_THAT(NamesIn(films.Path()), UnorderedElementsAre("folder.mp4/a.mp4"));
}

// Makes a chain of folders, one in the other, with a film in the innermost, each step by itself: the whole
// name may be longer than one that can be opened at once.
void PutDeep(const FilmFolder& films, const std::string& part, int depth) {
  const auto home = std::filesystem::current_path();
  std::filesystem::current_path(films.Path());
  for (int i = 0; i < depth; ++i) {
    std::filesystem::create_directory(part);
    std::filesystem::current_path(part);
  }
  std::ofstream("deep.mp4") << "film";
  std::filesystem::current_path(home);
}

TEST(WalkFolder, GoesAsDeepAsNamesReachWithFewOpenFolders) {
  constexpr int kDepth = 500;
  const FilmFolder films;
  PutDeep(films, "d", kDepth);
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  rlimit few = before;
  few.rlim_cur = 32;
  ::setrlimit(RLIMIT_NOFILE, &few);
  const std::vector<std::string> names = NamesIn(films.Path());
  ::setrlimit(RLIMIT_NOFILE, &before);
  ASSERT_EQ(names.size(), 1U);
  EXPECT_EQ(std::ranges::count(names[0], '/'), kDepth);
}

TEST(WalkFolder, LeavesOutNamesTooLongToOpen) {
  const FilmFolder films;
  films.Put("a.mp4");
  PutDeep(films, std::string(200, 'x'), 25);
  EXPECT_THAT(NamesIn(films.Path()), UnorderedElementsAre("a.mp4"));
}

TEST(WalkFolder, SaysWhenTheFolderIsNotThere) {
  const FilmFolder films;
  films.Put("plain");
  for (const char* name : {"none", "plain"}) {
    const FolderWalk walk = WalkFolder(films.In(name), [](int64_t) {});
    EXPECT_FALSE(walk.opened) << name;
    EXPECT_TRUE(walk.files.empty()) << name;
  }
}

TEST(WalkFolder, NamesTheFoldersThatItCouldNotRead) {
  const FilmFolder films;
  films.Put("open/a.mp4");
  films.Put("closed/b.mp4");
  ASSERT_EQ(::chmod(films.Path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(films.In("closed").c_str(), 0), 0);
  const bool root = ::geteuid() == 0;
  if (root && ::seteuid(65534) != 0) GTEST_SKIP() << "root reads every folder, and cannot be another here";
  const FolderWalk walk = WalkFolder(films.Path(), [](int64_t) {});
  if (root) {
    ASSERT_EQ(::seteuid(0), 0);
  }
  ASSERT_EQ(::chmod(films.In("closed").c_str(), 0700), 0);
  EXPECT_TRUE(walk.opened);
  EXPECT_THAT(walk.unread, testing::ElementsAre("closed"));
  ASSERT_EQ(walk.files.size(), 1U);
  EXPECT_EQ(walk.files[0].name, "open/a.mp4");
}

TEST(WalkFolder, TellsHowManyItHasSeen) {
  const FilmFolder films;
  for (int i = 0; i < 600; ++i) films.Put(std::to_string(i) + ".mp4");
  std::vector<int64_t> seen;
  WalkFolder(films.Path(), [&](int64_t count) { seen.push_back(count); });
  EXPECT_THAT(seen, testing::ElementsAre(256, 512, 600));
}

}  // namespace
}  // namespace kinora::media
