#include "platform/media/catalog.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <set>

#include "platform/media/case_folding.h"
#include "tests/unit/platform/media/database_file.h"

namespace kinora::media {
namespace {

using testing::ElementsAre;

class CatalogTest : public testing::Test {
 protected:
  CatalogTest() {
    store_.Do([](soci::session& sql) { sql << "INSERT INTO shares(name, path) VALUES('Films', '/films')"; });
  }

  // A file as a scan keeps it.
  static void Insert(soci::session& sql, const std::string& name, const std::string& title, int64_t size,
                     int64_t added, int64_t duration) {
    Video video;
    video.path = "/films/" + name;
    video.facts.title = title;
    const size_t slash = name.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : name.substr(0, slash);
    const std::string key = FoldCase(ShownTitle(video));
    const std::string search = FoldCase(title + "\n" + name);
    sql << "INSERT INTO files(share, path, folder, size, modified_ns, inode, marks, added, title, sort_key, "
           "search_text, container, video_codec, audio_codec, duration_ms, width, height, bitrate) "
           "VALUES(1, :path, :folder, :size, 5, 1, '', :added, :title, :key, :search, 'mp4', 'h264', 'aac', "
           ":duration, 640, 360, 1000)",
        soci::use(video.path), soci::use(folder), soci::use(size), soci::use(added), soci::use(title),
        soci::use(key), soci::use(search), soci::use(duration);
  }
  void Add(const std::string& name, const std::string& title = "", int64_t size = 1, int64_t added = 1,
           int64_t duration = 1) {
    store_.Do([&](soci::session& sql) { Insert(sql, name, title, size, added, duration); });
  }

  std::vector<std::string> Titles(const CatalogQuery& query) {
    std::vector<std::string> titles;
    for (const Video& video : catalog_.List(query).videos) titles.push_back(ShownTitle(video));
    return titles;
  }
  std::vector<std::string> Search(const std::string& words) {
    CatalogQuery query;
    query.search = words;
    return Titles(query);
  }

  DatabaseFile file_;
  Store store_{file_.Path()};
  Catalog catalog_{store_};
};

TEST_F(CatalogTest, IsEmptyAtFirst) {
  const CatalogPage page = catalog_.List({});
  EXPECT_EQ(page.total, 0);
  EXPECT_TRUE(page.videos.empty());
}

TEST_F(CatalogTest, TellsAllThatIsKnownOfAVideo) {
  Add("a/b.mp4", "Title", 5'000'000'000, 7, 90'000);
  const auto video = catalog_.Find(1);
  ASSERT_TRUE(video);
  EXPECT_EQ(video->path, "/films/a/b.mp4");
  EXPECT_EQ(video->folder, "a");
  EXPECT_EQ(video->share, "Films");
  EXPECT_EQ(video->size, 5'000'000'000);
  EXPECT_EQ(video->modified_ns, 5);
  EXPECT_EQ(video->added, 7);
  EXPECT_EQ(video->facts.title, "Title");
  EXPECT_EQ(video->facts.container, "mp4");
  EXPECT_EQ(video->facts.video_codec, "h264");
  EXPECT_EQ(video->facts.audio_codec, "aac");
  EXPECT_EQ(video->facts.duration_ms, 90'000);
  EXPECT_EQ(video->facts.width, 640);
  EXPECT_EQ(video->facts.height, 360);
  EXPECT_EQ(video->facts.bitrate, 1000);
  for (const int id : {0, -1, 2}) EXPECT_FALSE(catalog_.Find(id)) << id;
}

TEST_F(CatalogTest, SortsInFourOrders) {
  Add("b.mp4", "beta", 30, 2, 100);
  Add("Alpha.mp4", "", 10, 3, 300);
  Add("c.mp4", "Gamma", 20, 1, 200);
  EXPECT_THAT(Titles({.sort = SortOrder::kTitle}), ElementsAre("Alpha", "beta", "Gamma"));
  EXPECT_THAT(Titles({.sort = SortOrder::kNewest}), ElementsAre("Alpha", "beta", "Gamma"));
  EXPECT_THAT(Titles({.sort = SortOrder::kDuration}), ElementsAre("Alpha", "Gamma", "beta"));
  EXPECT_THAT(Titles({.sort = SortOrder::kSize}), ElementsAre("beta", "Gamma", "Alpha"));
}

TEST_F(CatalogTest, GivesPages) {
  for (const char* name : {"a", "b", "c", "d", "e"}) Add(std::string(name) + ".mp4");
  EXPECT_THAT(Titles({.offset = 0, .limit = 2}), ElementsAre("a", "b"));
  EXPECT_THAT(Titles({.offset = 4, .limit = 2}), ElementsAre("e"));
  EXPECT_THAT(Titles({.offset = 5, .limit = 2}), ElementsAre());
  EXPECT_THAT(Titles({.offset = INT64_MAX, .limit = 2}), ElementsAre());
  EXPECT_THAT(Titles({.offset = -3, .limit = -3}), ElementsAre("a"));
  EXPECT_EQ(Titles({.limit = INT64_MAX}).size(), 5U);
  EXPECT_EQ(catalog_.List({.offset = 4, .limit = 1}).total, 5);
}

TEST_F(CatalogTest, FindsWordsInTitleAndPathWithoutRegardToCase) {
  Add("Nature/one.mp4", "The Öresund Bridge");
  Add("nature/two.mp4", "Крым");
  Add("Other/100%_real.mp4");
  EXPECT_THAT(Search("öRESUND"), ElementsAre("The Öresund Bridge"));
  EXPECT_THAT(Search("bridge nature"), ElementsAre("The Öresund Bridge"));
  EXPECT_THAT(Search("NATURE"), ElementsAre("The Öresund Bridge", "Крым"));
  EXPECT_THAT(Search("КРЫМ"), ElementsAre("Крым"));
  EXPECT_THAT(Search("bridge other"), ElementsAre());
  EXPECT_THAT(Search("0%_r"), ElementsAre("100%_real"));
  EXPECT_THAT(Search("0_r"), ElementsAre()) << "no wildcards";
  EXPECT_EQ(Search(" \t ").size(), 3U);
  EXPECT_THAT(Search("films"), ElementsAre()) << "the share's own path is no part of a video";
}

TEST_F(CatalogTest, TakesQuotesAsText) {
  for (const std::string& quote : kQuotes) Add("x" + quote + "y.mp4");
  for (const std::string& quote : kQuotes) {
    if (quote.find_first_not_of("\n") == std::string::npos) continue;  // no word
    EXPECT_GE(Search(quote).size(), 1U) << quote;
  }
  EXPECT_EQ(catalog_.List({}).total, static_cast<int64_t>(std::size(kQuotes)));
}

TEST_F(CatalogTest, KeepsNamesInAnyBytes) {
  const std::string name = "caf\xe9\r\nSet-Cookie: a\xff.mp4";
  Add(name);
  EXPECT_EQ(catalog_.Find(1)->path, "/films/" + name);
}

TEST_F(CatalogTest, GivesThePathsOfAllVideos) {
  EXPECT_TRUE(catalog_.Paths().empty());
  Add("b.mp4");
  Add("a/caf\xe9.mp4");
  EXPECT_THAT(catalog_.Paths(), testing::UnorderedElementsAre("/films/b.mp4", "/films/a/caf\xe9.mp4"));
}

TEST_F(CatalogTest, GivesEachOfTenThousandOnOnePageOnly) {
  constexpr int kFilms = 10'000;
  store_.Change([](soci::session& sql) {
    for (int i = 0; i < kFilms; ++i) {
      Insert(sql, "folder/film " + std::to_string(i * 7919 % kFilms) + ".mp4", "", i, i, i);
    }
  });
  CatalogQuery query;
  query.limit = 1000;
  std::set<std::string> paths;
  for (; query.offset < kFilms; query.offset += query.limit) {
    const CatalogPage page = catalog_.List(query);
    EXPECT_EQ(page.total, kFilms);
    EXPECT_EQ(page.videos.size(), 1000U) << query.offset;
    for (const Video& video : page.videos) paths.insert(video.path);
  }
  EXPECT_EQ(paths.size(), size_t{kFilms});
  EXPECT_TRUE(catalog_.List(query).videos.empty()) << "behind the last one";
}

}  // namespace
}  // namespace kinora::media
