#include "library/subtitle/older_cache.h"

#include "tests/fakes/subtitle_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::TheScript;
using std::chrono::hours;

class OlderCache : public kinora::fakes::SubtitleTest {
 protected:
  static fs::path Older(const fs::path& source, const std::string& name) {
    return CacheFile(source, "").parent_path() / name;
  }
  int Find(const std::string& subtitle_path, int track) {
    return FindOlderCache(Film(), subtitle_path, track, path_);
  }

  std::string path_ = "not touched";
};

TEST_F(OlderCache, OfATrackLiesInTheVideosFolder) {
  const fs::path file = Put(Older(Film(), "CRVNVIDEO_SUBTITLE_2.srt"), "text", hours(1));
  EXPECT_EQ(Find("", 2), 1);
  EXPECT_EQ(path_, file);
  EXPECT_EQ(Find("", 3), 0);
  EXPECT_EQ(path_, "");
}

TEST_F(OlderCache, OfAFileLiesInItsOwnFolder) {
  const fs::path source = PutBeside("film.ass", "x");
  Put(Older(Film(), "CRVNVIDEO_SUBTITLE.srt"), "text", hours(1));
  EXPECT_EQ(Find(source, kNoTrack), 0);
  const fs::path file = Put(Older(source, "CRVNVIDEO_SUBTITLE.srt"), "text", hours(1));
  EXPECT_EQ(Find(source, kNoTrack), 1);
  EXPECT_EQ(path_, file);
}

TEST_F(OlderCache, MayBeWrittenWithAColon) {
  const fs::path second = Put(Older(Film(), "CRVNVIDEO:SUBTITLE_0.srt"), "text", hours(1));
  EXPECT_EQ(Find("", 0), 1);
  EXPECT_EQ(path_, second);
  const fs::path first = Put(Older(Film(), "CRVNVIDEO_SUBTITLE_0.srt"), "text", hours(1));
  EXPECT_EQ(Find("", 0), 1);
  EXPECT_EQ(path_, first);
}

TEST_F(OlderCache, IsOfNoUseUnlessItIsNewerThanTheVideo) {
  const fs::path first = Put(Older(Film(), "CRVNVIDEO_SUBTITLE_0.srt"), "text", hours(241));
  Put(Older(Film(), "CRVNVIDEO:SUBTITLE_0.srt"), "text", hours(1));
  EXPECT_EQ(Find("", 0), 0) << "the first that is there decides";
  EXPECT_EQ(path_, first);
  fs::last_write_time(first, fs::last_write_time(Film()));
  EXPECT_EQ(Find("", 0), 0);
}

TEST_F(OlderCache, IsNotLookedForWithoutAVideo) {
  fs::remove(Film());
  EXPECT_EQ(Find("", 0), -1);
  EXPECT_EQ(path_, "");
  ExpectCalls({"CheckFileAndGetMtime(\"" + Film().string() + "\")"});
}

TEST_F(OlderCache, IsNotLookedForWithoutAFolder) {
  TheScript().ea_folder = [](const std::string&) { return ""; };
  EXPECT_EQ(Find("/v/film.ass", kNoTrack), -1);
  EXPECT_EQ(Find("", 0), -1);
  ExpectLog({"subtitle/cached:# GetEADirPath failed: /v/film.ass",
             "subtitle/cached:# GetEADirPath failed: " + Film().string()});
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
