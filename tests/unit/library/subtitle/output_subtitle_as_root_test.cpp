// Under whose rights a subtitle is worked on.
#include <syslog.h>

#include <algorithm>
#include <new>

#include "library/subtitle/output_subtitle.h"
#include "tests/fakes/effective_ids.h"
#include "tests/fakes/subtitle_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi::subtitle {
namespace {

using kinora::fakes::Calls;
using kinora::fakes::EffectiveIds;
using kinora::fakes::LogLines;
using kinora::fakes::TheIds;
using kinora::fakes::TheScript;
using testing::EndsWith;
using testing::StartsWith;

class OutputSubtitleAsRoot : public kinora::fakes::SubtitleTest {
 protected:
  OutputSubtitleAsRoot() { TheIds() = EffectiveIds(); }

  static void ExpectIdentityIsBack() {
    EXPECT_EQ(TheIds().uid, 33U);
    EXPECT_EQ(TheIds().gid, 44U);
  }
  // The journal, each call by its first word.
  static std::vector<std::string> Operations() {
    std::vector<std::string> operations;
    for (const std::string& call : Calls()) operations.push_back(call.substr(0, call.find('(')));
    return operations;
  }
  // The first and the last two calls are the switches, and there are none between them.
  static void ExpectAllWorkIsDoneAsRoot() {
    const std::vector<std::string> done = Operations();
    ASSERT_GE(done.size(), 4U);
    EXPECT_EQ(Calls()[0], "setresuid(-1, 0, -1)");
    EXPECT_EQ(Calls()[1], "setresgid(-1, 0, -1)");
    EXPECT_EQ(Calls()[done.size() - 2], "setresuid(-1, 33, -1)");
    EXPECT_EQ(Calls()[done.size() - 1], "setresgid(-1, 44, -1)");
    EXPECT_EQ(std::count(done.begin(), done.end(), "setresuid"), 2);
    EXPECT_EQ(std::count(done.begin(), done.end(), "setresgid"), 2);
    ExpectIdentityIsBack();
  }
};

TEST_F(OutputSubtitleAsRoot, WorksOnTheCacheAndAsksForTheAccountAfterwards) {
  TheScript().traditional_chinese = true;
  GetMethodArguments wish = Wish(PutBeside("film.srt", "text\n"));
  wish.codepage = "CP1252";
  wish.uid = 7;
  EXPECT_TRUE(OutputSubtitle(wish).Process());
  EXPECT_EQ(Operations(), (std::vector<std::string>{"setresuid", "setresgid", "crvnindex::GetEADirPath",
                                                    "PathInfo", "HLIBCExec", "RandomString", "ProcessRunner",
                                                    "run", "HLIBCExec", "setresuid", "setresgid",
                                                    "PersonalSetting", "Get", "SimpleConverter", "Convert"}));
  ExpectIdentityIsBack();
}

TEST_F(OutputSubtitleAsRoot, GoesBackWhenThereIsNothing) {
  EXPECT_FALSE(OutputSubtitle(Wish("/v/gone.srt")).Process());
  ExpectAllWorkIsDoneAsRoot();
}

TEST_F(OutputSubtitleAsRoot, GoesBackWhenAStageFails) {
  TheScript().execute = [](const std::vector<std::string>&) { return 1; };
  EXPECT_FALSE(OutputSubtitle(Wish(PutBeside("film.srt", "text\n"))).Process());
  ExpectAllWorkIsDoneAsRoot();
}

TEST_F(OutputSubtitleAsRoot, GoesBackWhenAnErrorIsThrown) {
  ExpectError(
      1151,
      "readlink failed: " + (CacheFile(Film(), "").parent_path() / "CRVNVIDEO_SUBTITLE_DLNA.srt").string(),
      [&] { OutputSubtitle(Wish("DLNA")).Process(); });
  ExpectAllWorkIsDoneAsRoot();
}

TEST_F(OutputSubtitleAsRoot, GoesBackAndLeavesNoScratchFileWhenAnythingIsThrown) {
  TheScript().run = [](const std::vector<std::string>&) -> int {
    Put(Scratch("utf8-2"), "half", std::chrono::seconds(0));
    throw std::bad_alloc();
  };
  EXPECT_THROW(OutputSubtitle(Wish(PutBeside("film.srt", "text\n"))).Process(), std::bad_alloc);
  ExpectAllWorkIsDoneAsRoot();
  EXPECT_EQ(LeftScratch(), std::vector<std::string>());
}

class OutputSubtitleWithoutRoot : public OutputSubtitleAsRoot {};

TEST_F(OutputSubtitleWithoutRoot, DoesNothingAndHasNoAnswer) {
  TheIds().failing_calls = {1};
  EXPECT_FALSE(OutputSubtitle(Wish(PutBeside("film.srt", "text\n"))).Process());
  ExpectCalls({"setresuid(-1, 0, -1)"});
  ExpectIdentityIsBack();
  ExpectLog({"subtitle/cached:# ERROR: IF_RUN_AS(0, 0)"});
  EXPECT_EQ(LogLines()[0].priority, LOG_AUTHPRIV | LOG_ERR);
}

TEST_F(OutputSubtitleWithoutRoot, GoesBackFromHalfTheWay) {
  TheIds().failing_calls = {2};
  EXPECT_FALSE(OutputSubtitle(Wish(PutBeside("film.srt", "text\n"))).Process());
  ExpectCalls({"setresuid(-1, 0, -1)", "setresgid(-1, 0, -1)", "setresuid(-1, 33, -1)"});
  ExpectIdentityIsBack();
}

TEST_F(OutputSubtitleWithoutRoot, AnswersInWebvttWithAnEmptyDocument) {
  TheIds().failing_calls = {1};
  GetMethodArguments wish = Wish(PutBeside("film.srt", "00:00:01,000 --> 00:00:02,000\ntext\n"));
  wish.output_webvtt = true;
  wish.uid = 7;
  OutputSubtitle subtitle(wish);
  EXPECT_TRUE(subtitle.Process());
  EXPECT_THAT(subtitle.GetContent(), EndsWith("\n\n00:00:00.000 --> 00:00:00.000\n"));
  ExpectCalls({"setresuid(-1, 0, -1)"});
}

TEST_F(OutputSubtitleAsRoot, AnswersWhenItCannotGoBackAndTellsThat) {
  TheIds().failing_calls = {3};
  EXPECT_TRUE(OutputSubtitle(Wish(PutBeside("film.srt", "text\n"))).Process());
  ExpectLog({"subtitle/cached:# ERROR: ~IF_RUN_AS(33, 44)"});
  EXPECT_EQ(LogLines()[0].priority, LOG_AUTHPRIV | LOG_CRIT);
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
