#include "library/subtitle/extraction.h"

#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "library/subtitle/subtitle_list.h"
#include "tests/fakes/subtitle_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::Calls;
using kinora::fakes::LogLines;
using kinora::fakes::TheScript;
using std::chrono::hours;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Names = std::vector<std::string>;

constexpr char kFfmpeg[] = "/var/packages/Kinora/target/bin/ffmpeg";
constexpr char kCues[] = "1\n00:00:01,000 --> 00:00:02,000\nHello\n\n";

class Extraction : public kinora::fakes::SubtitleTest {
 protected:
  Extraction() {
    v1_ = CacheFile(Film(), "V1_2");
    fs::create_directories(v1_.parent_path());
    LetFfmpegWrite(kCues);
  }

  // And give the result; the converter copies.
  static void LetFfmpegWrite(const std::string& text, int result = 0) {
    TheScript().run = [text, result](const std::vector<std::string>& command) {
      if (command[0] == kFfmpeg) std::ofstream(command.back()) << text;
      if (command[0] != kFfmpeg) fs::copy_file(command.back(), command[command.size() - 2]);
      return command[0] == kFfmpeg ? result : 0;
    };
  }

  static std::string Quoted(const std::string& text) { return "\"" + text + "\""; }
  // What is run, after the common beginning and up to the output.
  static std::string Ffmpeg(const std::string& input, const std::string& more) {
    return "run(" + Quoted(kFfmpeg) + R"(, "-y", "-timelimit", "300", "-i", )" + Quoted(input) +
           R"(, "-scodec", "subrip", )" + more + Quoted(Scratch("ffmpeg")) + ", true, false)";
  }
  static std::string Copy(const fs::path& source, const fs::path& target) {
    return R"(HLIBCExec("/bin/cp", )" + Quoted(source) + ", " + Quoted(target) + ")";
  }
  static bool Ran() { return testing::Value(Calls(), Contains(StartsWith("run("))); }
  bool LockIsAsked() const {
    return testing::Value(Calls(), Contains("Lock(" + Quoted(v1_.string() + ".lock") + ", false)"));
  }

  // In a process of its own, which the code is to end; its exit status.
  static int ExitStatusOf(const std::function<void()>& code) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      code();
      ::_exit(100);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  }

  fs::path v1_;
};

TEST_F(Extraction, TakesATrackOutWithFfmpeg) {
  EXPECT_TRUE(GenerateV1(Wish("2"), v1_));
  EXPECT_EQ(Content(v1_), kCues);
  ExpectCalls({"CheckFileAndGetMtime(" + Quoted(Film()) + ")",
               "crvnindex::GetEADirPath(" + Quoted(Film()) + ", 4096)",
               "CheckFileAndGetMtime(" + Quoted(v1_.parent_path() / "CRVNVIDEO_SUBTITLE_2.srt") + ")",
               "CheckFileAndGetMtime(" + Quoted(v1_.parent_path() / "CRVNVIDEO:SUBTITLE_2.srt") + ")",
               "Lock(" + Quoted(v1_.string() + ".lock") + ", false)", R"(RandomString("", 8))",
               "ProcessRunner(" + Quoted(kFfmpeg) + ", " + Quoted(kFfmpeg) + ")",
               Ffmpeg(Film(), R"("-map", "0:2", )"), Copy(Scratch("ffmpeg"), v1_)});
  EXPECT_EQ(LeftScratch(), Names());
  ExpectLog({});
}

TEST_F(Extraction, TakesTheBeginningOutForAPreview) {
  GetMethodArguments request = Wish("2");
  request.preview = true;
  EXPECT_TRUE(GenerateV1(request, v1_));
  EXPECT_THAT(Calls(), Contains(Ffmpeg(Film(), R"("-map", "0:2", "-t", "300", )")));
}

TEST_F(Extraction, ReadsTheTrackAsANumber) {
  for (const auto& [id, track] : {std::pair("0", "0"), std::pair("007", "7"), std::pair("3abc", "3")}) {
    Calls().clear();
    fs::remove(v1_);
    EXPECT_TRUE(GenerateV1(Wish(id), v1_));
    EXPECT_THAT(Calls(), Contains(Ffmpeg(Film(), std::string(R"("-map", "0:)") + track + "\", "))) << id;
  }
}

TEST_F(Extraction, MakesSubRipOfAFileInUtf8) {
  const fs::path source = PutBeside("film.ass", "[Script Info]\n");
  const fs::path v1 = CacheFile(source, "V1_auto_enu");
  EXPECT_TRUE(GenerateV1(Wish(source), v1));
  EXPECT_EQ(Content(v1), kCues);
  EXPECT_THAT(Calls(),
              Contains(HasSubstr("\"--output\", " + Quoted(Scratch("utf8-1")) + ", " + Quoted(source))));
  EXPECT_THAT(Calls(), Contains(Ffmpeg(Scratch("utf8-1"), "")));
  EXPECT_EQ(LeftScratch(), Names());
}

TEST_F(Extraction, DetectsTheCharsetOfAFileWhateverIsAskedFor) {
  const fs::path source = PutBeside("film.smi", "<SAMI>\n");
  GetMethodArguments request = Wish(source);
  request.codepage = "BIG5";
  EXPECT_TRUE(GenerateV1(request, CacheFile(source, "V1_BIG5")));
  EXPECT_THAT(Calls(), Contains(HasSubstr(R"("--from", "ASCII")")));
}

TEST_F(Extraction, PutsRightWhatFfmpegCannotRead) {
  const fs::path source =
      PutBeside("film.vtt", "WEBVTT\n\nSTYLE\n::cue {}\n\n00:01.000 --> 00:02.000\nHello\n");
  std::string given;
  TheScript().run = [&](const std::vector<std::string>& command) {
    if (command[0] != kFfmpeg) fs::copy_file(command.back(), command[command.size() - 2]);
    if (command[0] == kFfmpeg) given = Content(Scratch("utf8-1"));
    if (command[0] == kFfmpeg) std::ofstream(command.back()) << kCues;
    return 0;
  };
  EXPECT_TRUE(GenerateV1(Wish(source), CacheFile(source, "V1_auto_enu")));
  EXPECT_EQ(given, "WEBVTT\n\n\n00:01.000 --> 00:02.000\nHello\n");
  ExpectLog({});
}

TEST_F(Extraction, TellsHowManyCuesFfmpegHasLost) {
  const fs::path source = PutBeside("film.sub", "{1}{2}a\n{3}{4}b\n{5}{6}c\n");
  EXPECT_TRUE(GenerateV1(Wish(source), CacheFile(source, "V1_auto_enu")));
  ExpectLog({"subtitle/cached:# ffmpeg took 1 of 3 cues from " + source.string()});
  EXPECT_EQ(LogLines()[0].priority, LOG_WARNING);
  GetMethodArguments preview = Wish(source);
  preview.preview = true;
  kinora::fakes::ClearLog();
  EXPECT_TRUE(GenerateV1(preview, CacheFile(source, "V1_auto_enu_PREVIEW")));
  ExpectLog({});
}

TEST_F(Extraction, FailsWhenAFileCannotBeConverted) {
  const fs::path source = PutBeside("film.ass", "[Script Info]\n");
  TheScript().run = [](const std::vector<std::string>&) { return -1; };
  EXPECT_FALSE(GenerateV1(Wish(source), CacheFile(source, "V1_auto_enu")));
  EXPECT_THAT(Calls(), Not(Contains(StartsWith("ProcessRunner(" + Quoted(kFfmpeg)))));
  EXPECT_EQ(LeftScratch(), Names());
}

// ---- failures
// -----------------------------------------------------------------------------------------------

TEST_F(Extraction, FailsWhenFfmpegIsEndedOrDoesNotStart) {
  LetFfmpegWrite("half", -2);
  EXPECT_FALSE(GenerateV1(Wish("2"), v1_));
  EXPECT_FALSE(fs::exists(v1_));
  EXPECT_EQ(LeftScratch(), Names());
  ExpectLog({"subtitle/cached:# RipSubtitle: Failed (" + std::string(kFfmpeg) + " -y -timelimit 300 -i " +
                 Film().string() + " -scodec subrip -map 0:2 " + Scratch("ffmpeg") + ")",
             "subtitle/cached:# RipSubtitle failed, " + Film().string()});
  for (const auto& line : LogLines()) EXPECT_EQ(line.priority, LOG_ERR);
}

TEST_F(Extraction, NamesTheFileOfWhichNothingCouldBeMade) {
  const fs::path source = PutBeside("film.ass", "[Script Info]\n");
  LetFfmpegWrite("half", -2);
  EXPECT_FALSE(GenerateV1(Wish(source), CacheFile(source, "V1_auto_enu")));
  EXPECT_EQ(LogLines().size(), 2u);
  EXPECT_THAT(LogLines().back().text, testing::EndsWith("RipSubtitle failed, " + source.string()));
  EXPECT_EQ(LeftScratch(), Names());
}

TEST_F(Extraction, TakesWhatFfmpegLeavesWhateverItsExitStatus) {
  LetFfmpegWrite(kCues, 1);
  EXPECT_TRUE(GenerateV1(Wish("2"), v1_));
  EXPECT_EQ(Content(v1_), kCues);
}

TEST_F(Extraction, FailsWhenThereIsNothingToCopy) {
  TheScript().run = [](const std::vector<std::string>&) { return 1; };
  EXPECT_FALSE(GenerateV1(Wish("2"), v1_));
  ExpectLog({"subtitle/cached:# /bin/cp " + Scratch("ffmpeg") + " " + v1_.string() + ", failed"});
}

TEST_F(Extraction, KeepsNothingEmpty) {
  LetFfmpegWrite("", 0);
  EXPECT_FALSE(GenerateV1(Wish("2"), v1_));
  EXPECT_FALSE(fs::exists(v1_));
  EXPECT_EQ(LeftScratch(), Names());
  ExpectLog({"subtitle/cached:# no text in subtitle 2 of " + Film().string()});
}

TEST_F(Extraction, FailsWhenTheCopyDoes) {
  TheScript().execute = [](const std::vector<std::string>&) { return 1; };
  EXPECT_FALSE(GenerateV1(Wish("2"), v1_));
  ExpectLog({"subtitle/cached:# /bin/cp " + Scratch("ffmpeg") + " " + v1_.string() + ", failed"});
  EXPECT_EQ(LeftScratch(), Names());
}

TEST_F(Extraction, KeepsNothingOfAFilmThatIsReplaced) {
  TheScript().run = [this](const std::vector<std::string>& command) {
    std::ofstream(command.back()) << kCues;
    PutBeside("film.mkv", "another film", hours(240));
    return 0;
  };
  EXPECT_FALSE(GenerateV1(Wish("2"), v1_));
  EXPECT_FALSE(fs::exists(v1_));
  ExpectLog({"subtitle/cached:# " + Film().string() + " has changed while it was read"});
}

// ---- one at a time
// --------------------------------------------------------------------------------------------

TEST_F(Extraction, LeavesTheWorkToWhoHoldsTheLock) {
  TheScript().take_lock = false;
  EXPECT_FALSE(GenerateV1(Wish("2"), v1_));
  EXPECT_TRUE(LockIsAsked());
  EXPECT_FALSE(Ran());
  ExpectLog({});
}

TEST_F(Extraction, TakesWhatAnotherHasMadeMeanwhile) {
  PutInCache(Film(), "V1_2", "made by another\n");
  EXPECT_TRUE(GenerateV1(Wish("2"), v1_));
  EXPECT_TRUE(LockIsAsked());
  EXPECT_FALSE(Ran());
  EXPECT_EQ(Content(v1_), "made by another\n");
}

TEST_F(Extraction, MakesAnewWhatIsStale) {
  PutInCache(Film(), "V1_2", "stale\n", hours(241));
  EXPECT_TRUE(GenerateV1(Wish("2"), v1_));
  EXPECT_EQ(Content(v1_), kCues);
}

// ---- older caches
// ---------------------------------------------------------------------------------------------

TEST_F(Extraction, CopiesAnOlderCacheThatIsNewerThanTheVideo) {
  const fs::path older = Put(v1_.parent_path() / "CRVNVIDEO:SUBTITLE_2.srt", "older\n", hours(1));
  GetMethodArguments request = Wish("2");
  request.output_webvtt = true;
  EXPECT_TRUE(GenerateV1(request, v1_));
  EXPECT_EQ(Content(v1_), "older\n");
  EXPECT_EQ(Calls().back(), Copy(older, v1_));
  EXPECT_FALSE(LockIsAsked());
  EXPECT_FALSE(Ran());
}

TEST_F(Extraction, RunsAgainWhenTheVideoIsNewerThanAnOlderCache) {
  Put(v1_.parent_path() / "CRVNVIDEO_SUBTITLE_2.srt", "older\n", hours(241));
  EXPECT_TRUE(GenerateV1(Wish("2"), v1_));
  EXPECT_EQ(Content(v1_), kCues);
}

TEST_F(Extraction, GoesOnWithoutAFolderForOlderCaches) {
  TheScript().ea_folder = [](const std::string&) { return ""; };
  EXPECT_TRUE(GenerateV1(Wish("2"), v1_));
  EXPECT_EQ(Content(v1_), kCues);
  ExpectLog({"subtitle/cached:# GetEADirPath failed: " + Film().string()});
}

// ---- the detached child
// -----------------------------------------------------------------------------------------

class DetachedExtraction : public Extraction {
 protected:
  DetachedExtraction() {
    request_ = Wish("2");
    request_.output_webvtt = true;
  }

  GetMethodArguments request_;
};

TEST_F(DetachedExtraction, LetsTheRequestGoOn) {
  EXPECT_FALSE(GenerateV1(request_, v1_));
  EXPECT_EQ(Calls().back(), "HLIBCProcForkChildNoWait()");
  EXPECT_FALSE(LockIsAsked());
  ExpectLog({});
}

TEST_F(DetachedExtraction, IsMadeForFilesToo) {
  const fs::path source = PutBeside("film.ass", "[Script Info]\n");
  request_.subtitle_id = source;
  EXPECT_FALSE(GenerateV1(request_, CacheFile(source, "V1_auto_enu")));
  EXPECT_EQ(Calls().back(), "HLIBCProcForkChildNoWait()");
}

TEST_F(DetachedExtraction, IsNotMadeForSubRipFiles) {
  const fs::path source = PutBeside("film.SRT", kCues);
  request_.subtitle_id = source;
  const fs::path v1 = CacheFile(source, "V1_auto_enu");
  fs::create_directories(v1.parent_path());
  EXPECT_TRUE(GenerateV1(request_, v1));
  EXPECT_EQ(Content(v1), kCues);
  EXPECT_FALSE(Ran());
}

TEST_F(DetachedExtraction, FailsWhenThereIsNoProcess) {
  TheScript().fork_child = -1;
  EXPECT_FALSE(GenerateV1(request_, v1_));
  EXPECT_FALSE(LockIsAsked());
  ExpectLog({"subtitle/cached:# HLIBCProcForkChildNoWait failed"});
}

TEST_F(DetachedExtraction, EndsAfterItsWork) {
  TheScript().fork_child = 0;
  EXPECT_EQ(ExitStatusOf([this] { GenerateV1(request_, v1_); }), 0);
  EXPECT_EQ(Content(v1_), kCues);
  EXPECT_EQ(LeftScratch(), Names());
}

TEST_F(DetachedExtraction, EndsAfterAFailureToo) {
  TheScript().fork_child = 0;
  LetFfmpegWrite("half", -2);
  EXPECT_EQ(ExitStatusOf([this] { GenerateV1(request_, v1_); }), 1);
  TheScript().take_lock = false;
  EXPECT_EQ(ExitStatusOf([this] { GenerateV1(request_, v1_); }), 1);
  EXPECT_FALSE(fs::exists(v1_));
  EXPECT_EQ(LeftScratch(), Names());
}

// ---- what is there already
// --------------------------------------------------------------------------------------

TEST_F(Extraction, IsKnownByItsCacheFile) {
  EXPECT_FALSE(IsEmbeddedSubtitleHasCached(Film(), 2));
  PutInCache(Film(), "V1_PREVIEW_2", kCues);
  EXPECT_FALSE(IsEmbeddedSubtitleHasCached(Film(), 2)) << "a preview is not the whole";
  PutInCache(Film(), "V1_2", kCues, hours(241));
  EXPECT_TRUE(IsEmbeddedSubtitleHasCached(Film(), 2)) << "that it is there counts";
  EXPECT_FALSE(IsEmbeddedSubtitleHasCached(Film(), 3));
}

TEST_F(Extraction, IsKnownByAnOlderCacheThatIsNewerThanTheVideo) {
  const fs::path older = Put(v1_.parent_path() / "CRVNVIDEO_SUBTITLE_2.srt", "older\n", hours(1));
  EXPECT_TRUE(IsEmbeddedSubtitleHasCached(Film(), 2));
  SetAge(older, hours(241));
  EXPECT_FALSE(IsEmbeddedSubtitleHasCached(Film(), 2));
}

TEST_F(Extraction, IsUnknownOfAVideoThatIsGone) {
  fs::remove(Film());
  EXPECT_FALSE(IsEmbeddedSubtitleHasCached(Film(), 2));
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
