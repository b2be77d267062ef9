// The stages of the cache, as OutputSubtitle goes through them.
#include "library/subtitle/cached.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>

#include <filesystem>

#include "tests/fakes/subtitle_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::Calls;
using kinora::fakes::LogLines;
using kinora::fakes::TheScript;
using testing::Contains;
using testing::Not;
using testing::StartsWith;
using Names = std::vector<std::string>;

class SubtitleCache : public kinora::fakes::SubtitleTest {
 protected:
  fs::path Srt() const { return folder_ / "film.srt"; }

  static std::string Copy(const fs::path& source, const fs::path& target) {
    return R"(HLIBCExec("/bin/cp", ")" + source.string() + R"(", ")" + target.string() + R"("))";
  }
  static std::string Conversion(const fs::path& source, const std::string& charset) {
    return R"(run("/usr/bin/php", "-f", "/var/packages/Kinora/target/scripts/phpiconv", "--", "--from", ")" +
           charset + R"(", "--to", "UTF-8", "--output", ")" + Scratch("utf8-2") + R"(", ")" +
           source.string() + R"(", true, false))";
  }
  static std::string Folder(const fs::path& source) {
    return "crvnindex::GetEADirPath(\"" + source.string() + "\", 4096)";
  }

  static std::string Bring(GetMethodArguments request) { return BringToCache(request); }
  // Without the folder of the cache and without "CRVNVIDEO_2_0_SUBTITLE_".
  static std::string BringNamed(const GetMethodArguments& request) {
    const std::string name = fs::path(Bring(request)).stem();
    return name.empty() ? "" : name.substr(sizeof "CRVNVIDEO_2_0_SUBTITLE_" - 1);
  }
  static bool Executed(const std::string& beginning) {
    return testing::Value(Calls(), Contains(StartsWith(beginning)));
  }

  // To the second.
  static void SetTime(const fs::path& file, time_t time) {
    const timespec both[] = {{time, 0}, {time, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), both, 0), 0);
  }
};

// ---- from the source to the last stage
// ---------------------------------------------------------------------

TEST_F(SubtitleCache, CopiesAFileAndConvertsIt) {
  PutBeside("film.srt", "plain\n");
  EXPECT_EQ(Bring(Wish(Srt())), CacheFile(Srt(), "V2_auto_enu"));
  const std::string codepage = R"(HLIBCFileGetKeyValue("/etc/crvninfo.conf", "codepage", 8, 0))";
  ExpectCalls({Folder(Srt()), codepage, "PathInfo(\"" + Srt().string() + "\")",
               Copy(Srt(), CacheFile(Srt(), "V1_auto_enu")), codepage, R"(RandomString("", 8))", codepage,
               R"(ProcessRunner("/usr/bin/php", "/usr/bin/php"))",
               Conversion(CacheFile(Srt(), "V1_auto_enu"), "ASCII"),
               Copy(Scratch("utf8-2"), CacheFile(Srt(), "V2_auto_enu")), codepage});
  EXPECT_EQ(Content(CacheFile(Srt(), "V1_auto_enu")), "plain\n");
  EXPECT_EQ(Content(CacheFile(Srt(), "V2_auto_enu")), "plain\n");
  EXPECT_EQ(LeftScratch(), Names());
  ExpectLog({});
}

TEST_F(SubtitleCache, CopiesAFileWhateverTheCaseOfItsExtension) {
  const fs::path source = PutBeside("film.SrT", "a\r\nb\xff");
  EXPECT_EQ(Bring(Wish(source)), CacheFile(source, "V2_auto_enu"));
  EXPECT_EQ(Content(CacheFile(source, "V1_auto_enu")), "a\r\nb\xff");
}

TEST_F(SubtitleCache, ConvertsFromTheCharsetThatWasGiven) {
  PutBeside("film.srt", "plain\n");
  GetMethodArguments request = Wish(Srt());
  request.codepage = "CP1251";
  EXPECT_EQ(Bring(request), CacheFile(Srt(), "V2_CP1251"));
  EXPECT_THAT(Calls(), Contains(Conversion(CacheFile(Srt(), "V1_CP1251"), "CP1251")));
  EXPECT_EQ(Cached(Srt()), (Names{"V1_CP1251", "V2_CP1251"}));
}

TEST_F(SubtitleCache, ConvertsATrackFromItsExtraction) {
  PutInCache(Film(), "V1_2", "track\n");
  EXPECT_EQ(Bring(Wish("2")), CacheFile(Film(), "V2_auto_enu_2"));
  EXPECT_EQ(Content(CacheFile(Film(), "V2_auto_enu_2")), "track\n");
}

TEST_F(SubtitleCache, AnswersFromWhatIsThere) {
  PutBeside("film.srt", "new\n");
  PutInCache(Srt(), "V1_auto_enu", "first\n");
  PutInCache(Srt(), "V2_auto_enu", "second\n");
  EXPECT_EQ(Bring(Wish(Srt())), CacheFile(Srt(), "V2_auto_enu"));
  EXPECT_EQ(Content(CacheFile(Srt(), "V2_auto_enu")), "second\n");
  EXPECT_FALSE(Executed("HLIBCExec"));
  EXPECT_FALSE(Executed("run"));
  EXPECT_FALSE(Executed("PathInfo"));
}

TEST_F(SubtitleCache, MakesTheFirstStageAnewBesideAValidLastOne) {
  PutBeside("film.srt", "new\n");
  PutInCache(Srt(), "V2_auto_enu", "second\n");
  EXPECT_EQ(Bring(Wish(Srt())), CacheFile(Srt(), "V2_auto_enu"));
  EXPECT_EQ(Content(CacheFile(Srt(), "V1_auto_enu")), "new\n");
  EXPECT_EQ(Content(CacheFile(Srt(), "V2_auto_enu")), "second\n");
}

// ---- what is asked of the sources
// --------------------------------------------------------------------------

TEST_F(SubtitleCache, HasNothingWithoutAVideo) {
  PutBeside("film.srt", "text\n");
  GetMethodArguments request = Wish(Srt());
  request.video_path = "";
  EXPECT_EQ(Bring(request), "");
  ExpectCalls({});
  ExpectLog({});
}

TEST_F(SubtitleCache, HasNothingOfAVideoThatIsGone) {
  GetMethodArguments request = Wish("2");
  request.video_path = "/v/gone.mkv";
  EXPECT_EQ(Bring(request), "");
  ExpectCalls({});
  ExpectLog({"subtitle/cached:# stat /v/gone.mkv failed"});
  EXPECT_EQ(LogLines()[0].priority, LOG_ERR);
}

TEST_F(SubtitleCache, HasNothingOfASubtitleThatIsGone) {
  EXPECT_EQ(Bring(Wish(Srt())), "");
  EXPECT_EQ(Bring(Wish("")), "");
  ExpectCalls({});
  ExpectLog({"subtitle/cached:# stat " + Srt().string() + " failed", "subtitle/cached:# stat  failed"});
}

TEST_F(SubtitleCache, HasNothingOfANameThatHidesAnother) {
  PutBeside("film.srt", "text\n");
  EXPECT_EQ(Bring(Wish(Srt().string() + std::string("\0.srt", 5))), "");
  ExpectCalls({});
}

TEST_F(SubtitleCache, HasNothingWithoutAFolder) {
  TheScript().ea_folder = [](const std::string&) { return ""; };
  PutBeside("film.srt", "text\n");
  EXPECT_EQ(Bring(Wish(Srt())), "");
  ExpectCalls({Folder(Srt())});
  ExpectLog({"subtitle/cached:# GetEADirPath failed: " + Srt().string()});
}

// ---- what is valid
// -----------------------------------------------------------------------------------------

struct AgeCase {
  const char* what;
  int subtitle;  // seconds after the cache's file
  int video;
  size_t size;
  bool valid;
};

// For a file each of both counts, for a track the video alone.
constexpr AgeCase kAges[] = {
    {"newer than both", -1, -1, 1, true},
    {"as old as the subtitle", 0, -1, 1, false},
    {"as old as the video", -1, 0, 1, false},
    {"older than the subtitle", 1, -1, 1, false},
    {"older than the video", -1, 1, 1, false},
    {"empty", -1, -1, 0, false},
    {"much newer", -100'000, -100'000, 5, true},
    {"the subtitle is of the future", 400'000, -1, 5, false},
    {"the video is of the future", -1, 400'000, 5, false},
};

TEST_F(SubtitleCache, IsValidWhenStrictlyNewerThanBothSourcesAndNotEmpty) {
  const time_t made = ::time(nullptr) - 3600;
  for (const AgeCase& age : kAges) {
    PutBeside("film.srt", "new\n");
    SetTime(Srt(), made + age.subtitle);
    SetTime(Film(), made + age.video);
    for (const char* const version : {"V1_auto_enu", "V2_auto_enu"}) {
      SetTime(PutInCache(Srt(), version, std::string(age.size, 'c')), made);
    }
    EXPECT_EQ(Bring(Wish(Srt())), CacheFile(Srt(), "V2_auto_enu"));
    const std::string expected = age.valid ? std::string(age.size, 'c') : "new\n";
    EXPECT_EQ(Content(CacheFile(Srt(), "V1_auto_enu")), expected) << age.what;
    EXPECT_EQ(Content(CacheFile(Srt(), "V2_auto_enu")), expected) << age.what;
  }
}

TEST_F(SubtitleCache, OfATrackDependsOnTheVideoAlone) {
  const time_t made = ::time(nullptr) - 3600;
  PutInCache(Film(), "V1_2", "track\n");
  for (const int later : {-1, 0, 1}) {
    SetTime(CacheFile(Film(), "V1_2"), made);
    SetTime(Film(), made + later);
    EXPECT_EQ(!Bring(Wish("2")).empty(), later < 0) << later;
  }
}

TEST_F(SubtitleCache, CountsWholeSeconds) {
  PutBeside("film.srt", "new\n");
  const time_t made = ::time(nullptr) - 3600;
  const timespec early[] = {{made, 100}, {made, 100}};
  const timespec late[] = {{made, 900'000'000}, {made, 900'000'000}};
  PutInCache(Srt(), "V1_auto_enu", "old\n");
  ASSERT_EQ(::utimensat(AT_FDCWD, Srt().c_str(), early, 0), 0);
  ASSERT_EQ(::utimensat(AT_FDCWD, CacheFile(Srt(), "V1_auto_enu").c_str(), late, 0), 0);
  Bring(Wish(Srt()));
  EXPECT_EQ(Content(CacheFile(Srt(), "V1_auto_enu")), "new\n");
}

// ---- what comes of failures
// --------------------------------------------------------------------------------

TEST_F(SubtitleCache, StopsAtAStageThatFails) {
  PutBeside("film.srt", "new\n");
  PutInCache(Srt(), "V2_auto_enu", "second\n");
  TheScript().execute = [](const std::vector<std::string>&) { return 1; };
  EXPECT_EQ(Bring(Wish(Srt())), "");
  EXPECT_FALSE(Executed("run"));
}

TEST_F(SubtitleCache, TakesTheFirstStageWhenTheConverterLeavesNextToNothing) {
  PutBeside("film.srt", "\xe9t\xe9\n");
  for (const char* const next_to_nothing : {"", "x"}) {
    LetConverterWrite(next_to_nothing);
    fs::remove_all(folder_ / ".kinora");
    EXPECT_EQ(Bring(Wish(Srt())), CacheFile(Srt(), "V2_auto_enu"));
    EXPECT_EQ(Content(CacheFile(Srt(), "V2_auto_enu")), "\xe9t\xe9\n");
    EXPECT_EQ(Calls()[Calls().size() - 2],
              Copy(CacheFile(Srt(), "V1_auto_enu"), CacheFile(Srt(), "V2_auto_enu")));
    EXPECT_EQ(LeftScratch(), Names());
  }
  EXPECT_TRUE(fs::exists(CacheFile(Srt(), "V1_auto_enu")));
}

TEST_F(SubtitleCache, TakesTheFirstStageWhenTheConverterLeavesNoFile) {
  PutBeside("film.srt", "text\n");
  TheScript().run = [](const std::vector<std::string>&) { return 1; };
  EXPECT_EQ(Bring(Wish(Srt())), CacheFile(Srt(), "V2_auto_enu"));
  EXPECT_EQ(Content(CacheFile(Srt(), "V2_auto_enu")), "text\n");
  ExpectLog({});
}

TEST_F(SubtitleCache, TakesTwoBytesForText) {
  PutBeside("film.srt", "text\n");
  LetConverterWrite("ab");
  Bring(Wish(Srt()));
  EXPECT_EQ(Content(CacheFile(Srt(), "V2_auto_enu")), "ab");
}

TEST_F(SubtitleCache, HasNothingWhenTheConverterDoesNotRun) {
  PutBeside("film.srt", "text\n");
  TheScript().run = [](const std::vector<std::string>& command) {
    Put(command[9], "half", std::chrono::seconds(0));
    return -1;
  };
  EXPECT_EQ(Bring(Wish(Srt())), "");
  const std::string v1 = CacheFile(Srt(), "V1_auto_enu");
  ExpectLog({"to_utf8:# failed to run", "to_utf8:# EncodeToUTF8 failed, " + v1 + ", ASCII",
             "subtitle/cached:# ToUTF8 fail " + v1});
  EXPECT_EQ(Cached(Srt()), Names{"V1_auto_enu"});
  EXPECT_EQ(LeftScratch(), Names());
}

TEST_F(SubtitleCache, HasNothingOfAnEmptyFile) {
  PutBeside("film.srt", "");
  EXPECT_EQ(Bring(Wish(Srt())), "");
  const std::string v1 = CacheFile(Srt(), "V1_auto_enu");
  ExpectLog({"to_utf8:# AnalyzeEncoding failed, " + v1, "subtitle/cached:# ToUTF8 fail " + v1});
}

TEST_F(SubtitleCache, LeavesNoScratchFileWhenTheLastCopyFails) {
  PutBeside("film.srt", "text\n");
  PutInCache(Srt(), "V1_auto_enu", "text\n");
  for (const int status : {1, -1, -2}) {
    TheScript().execute = [status](const std::vector<std::string>&) { return status; };
    EXPECT_EQ(Bring(Wish(Srt())), "");
    EXPECT_EQ(LeftScratch(), Names());
  }
}

TEST_F(SubtitleCache, ConvertsNoFileOfTheFirstStageThatIsALink) {
  const fs::path secret = PutBeside("secret", "secret\n");
  fs::create_directories(CacheFile(Film(), "").parent_path());
  fs::create_symlink(secret, CacheFile(Film(), "V1_2"));
  EXPECT_EQ(Bring(Wish("2")), "");
  EXPECT_FALSE(Executed("run"));
  ExpectLog({"subtitle/cached:# cannot use " + CacheFile(Film(), "V1_2").string() +
             ": not a plain file of its folder's owner"});
}

// ---- what a stage removes when it is done
// ------------------------------------------------------------------

// All that could lie in the cache of a track, the stages themselves left out.
const Names kLeftovers = {"V1_2.lock",
                          "V1_PREVIEW_2.lock",
                          "V2_KEEP_SRT_TAG_auto_enu_2",
                          "V2_KEEP_SRT_TAG_auto_enu_PREVIEW_2",
                          "V2_KEEP_SRT_TAG_CP1251_2",
                          "V2_CP1251_2",
                          "V1_3",
                          "V1_3.lock"};

class FinishedTrack : public SubtitleCache {
 protected:
  void PutAll() const {
    for (const char* const stage : {"V1_2", "V1_PREVIEW_2", "V2_auto_enu_2", "V2_auto_enu_PREVIEW_2"})
      PutInCache(Film(), stage, "text\n");
    for (const std::string& name : kLeftovers) {
      const size_t lock = name.find(".lock");
      fs::path file = CacheFile(Film(), name.substr(0, lock));
      if (lock != std::string::npos) file += ".lock";
      Put(file, "left\n", std::chrono::hours(1));
    }
  }
};

TEST_F(FinishedTrack, LeavesNothingOfItsPreviewAndOfRetiredVersions) {
  PutAll();
  EXPECT_EQ(BringNamed(Wish("2")), "V2_auto_enu_2");
  EXPECT_FALSE(Executed("run"));
  EXPECT_EQ(Cached(Film()),
            (Names{"V1_2", "V1_3", "V1_3.lock", "V2_CP1251_2", "V2_KEEP_SRT_TAG_CP1251_2", "V2_auto_enu_2"}));
}

TEST_F(FinishedTrack, LeavesTheWholeWhenItIsAPreview) {
  PutAll();
  GetMethodArguments request = Wish("2");
  request.preview = true;
  EXPECT_EQ(BringNamed(request), "V2_auto_enu_PREVIEW_2");
  EXPECT_EQ(Cached(Film()), (Names{"V1_2", "V1_2.lock", "V1_3", "V1_3.lock", "V1_PREVIEW_2", "V2_CP1251_2",
                                   "V2_KEEP_SRT_TAG_CP1251_2", "V2_auto_enu_2", "V2_auto_enu_PREVIEW_2"}));
}

TEST_F(FinishedTrack, RemovesTheSameAfterItWasMade) {
  PutAll();
  fs::remove(CacheFile(Film(), "V2_auto_enu_2"));
  EXPECT_EQ(BringNamed(Wish("2")), "V2_auto_enu_2");
  EXPECT_TRUE(Executed("run"));
  EXPECT_EQ(Cached(Film()),
            (Names{"V1_2", "V1_3", "V1_3.lock", "V2_CP1251_2", "V2_KEEP_SRT_TAG_CP1251_2", "V2_auto_enu_2"}));
}

TEST_F(FinishedTrack, KeepsAllWhenAStageFails) {
  PutAll();
  fs::remove(CacheFile(Film(), "V2_auto_enu_2"));
  TheScript().execute = [](const std::vector<std::string>&) { return 1; };
  EXPECT_EQ(BringNamed(Wish("2")), "");
  EXPECT_THAT(Cached(Film()), Contains("V2_KEEP_SRT_TAG_auto_enu_2"));
}

TEST_F(SubtitleCache, OfAFileLosesItsRetiredVersionOnly) {
  PutBeside("film.srt", "text\n");
  for (const char* const left : {"V2_KEEP_SRT_TAG_auto_enu", "V2_KEEP_SRT_TAG_auto_enu_PREVIEW",
                                 "V2_KEEP_SRT_TAG_CP1251", "V1_auto_enu_PREVIEW", "V2_auto_enu_PREVIEW"})
    PutInCache(Srt(), left, "left\n");
  const fs::path lock = CacheFile(Srt(), "V1_auto_enu").string() + ".lock";
  Put(lock, "", std::chrono::hours(1));
  EXPECT_EQ(BringNamed(Wish(Srt())), "V2_auto_enu");
  EXPECT_EQ(Cached(Srt()),
            (Names{"V1_auto_enu", "V1_auto_enu.lock", "V1_auto_enu_PREVIEW", "V2_KEEP_SRT_TAG_CP1251",
                   "V2_KEEP_SRT_TAG_auto_enu_PREVIEW", "V2_auto_enu", "V2_auto_enu_PREVIEW"}));
}

TEST_F(SubtitleCache, OfAFilesPreviewLosesItsRetiredVersionOnly) {
  PutBeside("film.srt", "text\n");
  for (const char* const left : {"V2_KEEP_SRT_TAG_auto_enu", "V2_KEEP_SRT_TAG_auto_enu_PREVIEW"})
    PutInCache(Srt(), left, "left\n");
  GetMethodArguments request = Wish(Srt());
  request.preview = true;
  EXPECT_EQ(BringNamed(request), "V2_auto_enu_PREVIEW");
  EXPECT_EQ(Cached(Srt()), (Names{"V1_auto_enu_PREVIEW", "V2_KEEP_SRT_TAG_auto_enu", "V2_auto_enu_PREVIEW"}));
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
