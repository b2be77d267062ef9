#include "library/subtitle/output_subtitle.h"

#include <syslog.h>

#include <filesystem>
#include <stdexcept>

#include "tests/fakes/subtitle_test.h"
#include "tests/fakes/system_log.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using kinora::fakes::Calls;
using kinora::fakes::TheScript;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

const std::string kText =
    "1\n00:00:01,500 --> 00:00:03,000\nHello\n\n2\n00:00:04,000 --> 00:00:05,000\nBye\n";
const std::string kHeader = "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n";

class OutputSubtitleTest : public kinora::fakes::SubtitleTest {
 protected:
  struct Answer {
    bool given = false;
    std::string head;
    std::string body;
  };

  static Answer Get(const GetMethodArguments& wish) {
    OutputSubtitle subtitle(wish);
    Answer answer;
    answer.given = subtitle.Process();
    answer.head = subtitle.GetHeader();
    answer.body = subtitle.GetContent().substr(answer.head.size());
    return answer;
  }

  // The text of the film's one subtitle in SubRip; "none" when there is no answer.
  std::string Text(const GetMethodArguments& wish) {
    const Answer answer = Get(wish);
    EXPECT_TRUE(answer.given || answer.body.empty());
    return answer.given ? answer.body : "none";
  }

  // A request for a file that is there.
  GetMethodArguments External(const std::string& text = kText) const {
    return Wish(PutBeside("film.srt", text));
  }
  // A request for a track that was extracted before.
  GetMethodArguments Embedded(const std::string& text = kText) const {
    PutInCache(Film(), "V1_2", text);
    return Wish("2");
  }
};

// ---- the answer
// --------------------------------------------------------------------------------------------

TEST_F(OutputSubtitleTest, AnswersWithHeadersAndText) {
  OutputSubtitle subtitle(External());
  ASSERT_TRUE(subtitle.Process());
  EXPECT_EQ(subtitle.GetContent(),
            "Access-Control-Allow-Origin: *\r\n"
            "Access-Control-Allow-Methods: GET\r\n"
            "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range\r\n"
            "Content-Type: text/plain\r\n"
            "Content-Length: " +
                std::to_string(kText.size()) + "\r\n\r\n" + kText);
  EXPECT_EQ(subtitle.GetHeader() + kText, subtitle.GetContent());
  ExpectLog({});
}

TEST_F(OutputSubtitleTest, HasHeadersWithoutABody) {
  const OutputSubtitle subtitle(Wish("2"));
  EXPECT_THAT(subtitle.GetHeader(), testing::EndsWith("\r\nContent-Length: 0\r\n\r\n"));
  EXPECT_EQ(subtitle.GetContent(), subtitle.GetHeader());
}

TEST_F(OutputSubtitleTest, TakesOverEveryArgument) {
  GetMethodArguments wish = Wish("2");
  wish.codepage = "CP1251";
  wish.ea_path = "/ea";
  wish.start_time = 10;
  wish.end_time = 20;
  wish.output_webvtt = wish.preview = wish.keep_basic_tags = true;
  wish.strip_stray_brackets = false;
  wish.uid = 7;
  const OutputSubtitle subtitle(wish);
  EXPECT_EQ(subtitle.video_path, Film());
  EXPECT_EQ(subtitle.subtitle_id, "2");
  EXPECT_EQ(subtitle.codepage, "CP1251");
  EXPECT_EQ(subtitle.ea_path, "/ea");
  EXPECT_EQ(subtitle.start_time, 10);
  EXPECT_EQ(subtitle.end_time, 20);
  EXPECT_TRUE(subtitle.output_webvtt && subtitle.preview && subtitle.keep_basic_tags);
  EXPECT_FALSE(subtitle.strip_stray_brackets);
  EXPECT_EQ(subtitle.uid, 7);
}

TEST_F(OutputSubtitleTest, CleansTheText) {
  EXPECT_EQ(Text(External("<i>Hello</i> a<b\n{\\an8}x")), "Hello ab\nx\n");
}

TEST_F(OutputSubtitleTest, CleansAsItWasAsked) {
  GetMethodArguments wish = External("<i>Hi</i><span>x</span> a<b\n");
  wish.keep_basic_tags = true;
  EXPECT_EQ(Text(wish), "<i>Hi</i>x ab\n");
  wish.strip_stray_brackets = false;
  EXPECT_EQ(Text(wish), "<i>Hi</i>x a<b\n");
  wish.keep_basic_tags = false;
  EXPECT_EQ(Text(wish), "Hix a<b\n");
}

TEST_F(OutputSubtitleTest, GivesTextWithoutTimingAsItIs) { EXPECT_EQ(Text(External("words\n")), "words\n"); }

TEST_F(OutputSubtitleTest, HasNoAnswerWithoutText) {
  GetMethodArguments wish = External("");
  wish.codepage = "CP1252";
  EXPECT_EQ(Text(wish), "none");
  EXPECT_TRUE(fs::exists(CacheFile(folder_ / "film.srt", "V2_CP1252")));
  wish.output_webvtt = true;
  EXPECT_EQ(Get(wish).body, kHeader + "00:00:00.000 --> 00:00:00.000\n");
}

// ---- WebVTT
// ------------------------------------------------------------------------------------------------

TEST_F(OutputSubtitleTest, AnswersInWebvtt) {
  GetMethodArguments wish = External();
  wish.output_webvtt = true;
  const Answer answer = Get(wish);
  EXPECT_TRUE(answer.given);
  EXPECT_EQ(answer.body,
            kHeader + "00:00:01.500 --> 00:00:03.000\nHello\n\n00:00:04.000 --> 00:00:05.000\nBye\n");
  EXPECT_THAT(answer.head, HasSubstr("\r\nContent-Type: text/plain\r\n"));
}

TEST_F(OutputSubtitleTest, AnswersWithTheCuesOfAWindow) {
  GetMethodArguments wish = External();
  wish.output_webvtt = true;
  wish.start_time = 4;
  wish.end_time = 10;
  EXPECT_EQ(Get(wish).body, kHeader + "00:00:04.000 --> 00:00:05.000\nBye\n");
}

TEST_F(OutputSubtitleTest, LeavesTheWindowAsideInSubRip) {
  GetMethodArguments wish = External();
  wish.start_time = 4;
  wish.end_time = 10;
  EXPECT_EQ(Text(wish), kText);
}

TEST_F(OutputSubtitleTest, AnswersInWebvttWithAnEmptyDocumentWhenItCannotBeRead) {
  GetMethodArguments wish = Wish(folder_ / "missing.srt");
  wish.output_webvtt = true;
  const Answer answer = Get(wish);
  EXPECT_TRUE(answer.given);
  EXPECT_EQ(answer.body, kHeader + "00:00:00.000 --> 00:00:00.000\n");
}

struct WindowCase {
  int32_t start;
  int32_t end;
  const char* timing;
};

TEST_F(OutputSubtitleTest, TellsTheWindowInAnEmptyDocument) {
  for (const WindowCase& window : {WindowCase{90061, 90062, "01:01:01.000 --> 01:01:02.000\n"},
                                   WindowCase{-90061, -7, "00:00:00.000 --> 00:00:00.000\n"},
                                   WindowCase{59, 3600, "00:00:59.000 --> 01:00:00.000\n"},
                                   WindowCase{INT32_MAX, INT32_MIN, "03:14:07.000 --> 00:00:00.000\n"}}) {
    GetMethodArguments wish = External("no timing\n");
    wish.output_webvtt = true;
    wish.start_time = window.start;
    wish.end_time = window.end;
    EXPECT_EQ(Get(wish).body, kHeader + window.timing) << window.start;
  }
}

TEST_F(OutputSubtitleTest, AnswersWithAnEmptyDocumentWhenNoCueIsInTheWindow) {
  GetMethodArguments wish = External();
  wish.output_webvtt = true;
  wish.start_time = 100;
  wish.end_time = 160;
  EXPECT_EQ(Get(wish).body, kHeader + "00:01:40.000 --> 00:02:40.000\n");
}

// ---- the subtitle of a DLNA renderer
// -----------------------------------------------------------------------

class DlnaSubtitle : public OutputSubtitleTest {
 protected:
  fs::path Link() const { return CacheFile(Film(), "").parent_path() / "CRVNVIDEO_SUBTITLE_DLNA.srt"; }
  void LinkTo(const fs::path& target) const {
    fs::create_directories(Link().parent_path());
    fs::create_symlink(target, Link());
  }
};

TEST_F(DlnaSubtitle, IsWhatTheLinkSays) {
  LinkTo(PutBeside("other.srt", kText));
  EXPECT_EQ(Text(Wish("DLNA")), kText);
  EXPECT_EQ(Calls()[0], "GetEADirPath(\"" + Film().string() + "\", 4096)");
  EXPECT_EQ(Calls()[1], "crvnindex::GetEADirPath(\"" + (folder_ / "other.srt").string() + "\", 4096)");
}

TEST_F(DlnaSubtitle, ReplacesTheId) {
  LinkTo(PutBeside("other.srt", kText));
  OutputSubtitle subtitle(Wish("DLNA"));
  subtitle.Process();
  EXPECT_EQ(subtitle.subtitle_id, folder_ / "other.srt");
}

TEST_F(DlnaSubtitle, FailsWithoutAFolder) {
  TheScript().ea_folder = [](const std::string&) { return ""; };
  ExpectError(1151, "GetEADirPath failed: " + Film().string(), [&] { Get(Wish("DLNA")); });
}

TEST_F(DlnaSubtitle, FailsWithoutTheLink) {
  ExpectError(1151, "readlink failed: " + Link().string(), [&] { Get(Wish("DLNA")); });
}

TEST_F(DlnaSubtitle, FailsWhenItIsNoLink) {
  Put(Link(), kText, std::chrono::hours(1));
  ExpectError(1151, "readlink failed: " + Link().string(), [&] { Get(Wish("DLNA")); });
}

TEST_F(DlnaSubtitle, FailsInWebvttToo) {
  GetMethodArguments wish = Wish("DLNA");
  wish.output_webvtt = true;
  ExpectError(1151, "readlink failed: " + Link().string(), [&] { Get(wish); });
}

TEST_F(DlnaSubtitle, HasNoAnswerWhenTheLinkLeadsNowhere) {
  LinkTo(folder_ / "gone.srt");
  EXPECT_EQ(Text(Wish("DLNA")), "none");
  ExpectLog({"subtitle/cached:# stat " + (folder_ / "gone.srt").string() + " failed"});
}

TEST_F(DlnaSubtitle, IsMeantByItsExactNameOnly) {
  for (const char* const id : {"dlna", "DLNA ", "DLN"}) EXPECT_EQ(Text(Wish(id)), "none") << id;
  EXPECT_THAT(Calls(), Not(Contains("GetEADirPath(\"" + Film().string() + "\", 4096)")));
}

// ---- previews
// ----------------------------------------------------------------------------------------------

TEST_F(OutputSubtitleTest, ServesAPreviewFromItsOwnFile) {
  PutInCache(Film(), "V1_PREVIEW_2", "preview\n");
  GetMethodArguments wish = Wish("2");
  wish.preview = true;
  EXPECT_EQ(Text(wish), "preview\n");
  EXPECT_EQ(Cached(Film()), (std::vector<std::string>{"V1_PREVIEW_2", "V2_auto_enu_PREVIEW_2"}));
}

TEST_F(OutputSubtitleTest, ServesTheWholeForAPreviewOnceItIsThere) {
  PutInCache(Film(), "V1_PREVIEW_2", "preview\n");
  GetMethodArguments wish = Embedded("whole\n");
  wish.preview = true;
  EXPECT_EQ(Text(wish), "whole\n");
  EXPECT_EQ(Cached(Film()), (std::vector<std::string>{"V1_2", "V2_auto_enu_2"}));
}

// It is about to be made anew, so there is nothing to be had from the preview either.
TEST_F(OutputSubtitleTest, TakesTheWholeForThereWhenItIsStale) {
  PutInCache(Film(), "V1_PREVIEW_2", "preview\n");
  PutInCache(Film(), "V1_2", "whole\n", std::chrono::hours(500));
  OutputSubtitle subtitle([&] {
    GetMethodArguments wish = Wish("2");
    wish.preview = true;
    return wish;
  }());
  subtitle.Process();
  EXPECT_FALSE(subtitle.preview);
}

TEST_F(OutputSubtitleTest, TellsOnceInAPreviewThatThereIsNoFolder) {
  TheScript().ea_folder = [](const std::string&) { return ""; };
  GetMethodArguments wish = Wish("2");
  wish.preview = true;
  EXPECT_EQ(Text(wish), "none");
  const std::string line = "subtitle/cached:# GetEADirPath failed: " + Film().string();
  ExpectLog({line, line});  // for the whole, and for the first stage
}

// ---- Chinese for an account
// --------------------------------------------------------------------------------

class TraditionalChinese : public OutputSubtitleTest {
 protected:
  TraditionalChinese() { TheScript().traditional_chinese = true; }

  GetMethodArguments For(int32_t uid) const {
    GetMethodArguments wish = External("汉\n");
    wish.uid = uid;
    return wish;
  }
  static std::vector<std::string> AccountCalls() {
    const auto first = std::find_if(Calls().begin(), Calls().end(), [](const std::string& call) {
      return call.rfind("PersonalSetting", 0) == 0 || call.rfind("SimpleConverter", 0) == 0;
    });
    return {first, Calls().end()};
  }
};

TEST_F(TraditionalChinese, IsForAccountsThatWantIt) {
  TheScript().simple_convert = [](const std::string&) { return "a longer 漢\n"; };
  const Answer answer = Get(For(7));
  EXPECT_TRUE(answer.given);
  EXPECT_EQ(answer.body, "a longer 漢\n");
  EXPECT_THAT(answer.head, HasSubstr("\r\nContent-Length: 13\r\n"));  // bytes
  EXPECT_EQ(AccountCalls(),
            (std::vector<std::string>{
                "PersonalSetting(7)", "Get()",
                R"(SimpleConverter("/var/packages/Kinora/target/etc/opencc/data/config/s2tw_text.json"))",
                "Convert(\"汉\n\")"}));
}

TEST_F(TraditionalChinese, IsNotForOthers) {
  TheScript().traditional_chinese = false;
  EXPECT_EQ(Text(For(7)), "汉\n");
  EXPECT_EQ(AccountCalls(), (std::vector<std::string>{"PersonalSetting(7)", "Get()"}));
}

TEST_F(TraditionalChinese, IsNeverAskedForNobody) {
  for (const int32_t nobody : {-1, 0}) EXPECT_EQ(Text(For(nobody)), "汉\n");
  EXPECT_EQ(AccountCalls(), std::vector<std::string>());
}

TEST_F(TraditionalChinese, IsAskedForAnyOtherAccount) {
  Text(For(-2));
  EXPECT_EQ(AccountCalls()[0], "PersonalSetting(4294967294)");
}

TEST_F(TraditionalChinese, IsForTheWholeDocument) {
  TheScript().simple_convert = [](const std::string& text) { return text + "漢"; };
  GetMethodArguments wish = For(7);
  wish.output_webvtt = true;
  PutBeside("film.srt", "00:00:01,000 --> 00:00:02,000\n汉\n");
  EXPECT_EQ(Get(wish).body, kHeader + "00:00:01.000 --> 00:00:02.000\n汉\n漢");
}

TEST_F(TraditionalChinese, IsNotForAnEmptyDocument) {
  GetMethodArguments wish = For(7);
  wish.subtitle_id = folder_ / "missing.srt";
  wish.output_webvtt = true;
  EXPECT_TRUE(Get(wish).given);
  EXPECT_EQ(AccountCalls(), std::vector<std::string>());
}

TEST_F(TraditionalChinese, LeavesTheTextWhenNothingComesOfIt) {
  TheScript().simple_convert = [](const std::string&) { return ""; };
  EXPECT_EQ(Text(For(7)), "汉\n");
}

TEST_F(TraditionalChinese, LeavesTheTextWhenTheConverterFails) {
  TheScript().simple_convert = [](const std::string&) -> std::string {
    throw std::runtime_error("no dictionary");
  };
  EXPECT_EQ(Text(For(7)), "汉\n");
  ExpectLog({"subtitle/cached:# no traditional Chinese for account 7: no dictionary"});
  EXPECT_EQ(kinora::fakes::LogLines()[0].priority, LOG_ERR);
}

TEST_F(TraditionalChinese, LeavesTheTextWhenTheDatabaseFails) {
  TheScript().database_fails = true;
  EXPECT_EQ(Text(For(7)), "汉\n");
  ExpectLog({"subtitle/cached:# no traditional Chinese for account 7: the database is out of order"});
  EXPECT_EQ(kinora::fakes::OpenDatabases(), 0);
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
