// Subtitles as players and pages ask for them.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "tests/http/hls_expectations.h"
#include "tests/http/subtitle_reader.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "languages.mkv";  // with a track of SubRip, number 3, and one of ASS, number 4
const std::string kWebvttHead = "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n";
const std::string kEmptyWebvtt = kWebvttHead + "00:00:00.000 --> 00:00:00.000\n";
const Parameters kAsWebvtt = {{"output_webvtt", "true"}};

Json::Value Parsed(const std::string& text) { return ParseJson(text); }

Parameters With(Parameters parameters, const Parameters& further) {
  for (const auto& [name, value] : further) parameters[name] = value;
  return parameters;
}

// The header lines that come from Kinora, in their order; the front adds its own.
std::vector<std::string> OwnLines(const Reply& reply) {
  static const std::vector<std::string> kOfTheFront = {
      "Accept-Ranges",   "Date",           "Server", "Connection", "Content-Security-Policy",
      "X-Frame-Options", "Referrer-Policy"};
  std::vector<std::string> lines;
  for (const auto& [name, value] : reply.headers) {
    if (std::find(kOfTheFront.begin(), kOfTheFront.end(), name) == kOfTheFront.end())
      lines.push_back(name + ": " + value);
  }
  return lines;
}

class Subtitles : public testing::Test {
 protected:
  House house_{{kFilm}};
  SubtitleReader ann_{house_, house_.SignIn("ann"), kFilm};
};

}  // namespace

TEST_F(Subtitles, AreListedWithWhatAPageShows) {
  const std::string plain = ann_.Put("languages.en.srt", SubRipOf(1));
  const std::string forced = ann_.Put("languages.zh-TW.forced.ass", "x");
  const std::string described = ann_.Put("Subs/languages.German.sdh.srt", SubRipOf(1));
  ann_.Put("another.en.srt", SubRipOf(1));
  const Json::Value list = ann_.List({{"include_image", "true"}});
  ASSERT_EQ(list.size(), 5U) << list;
  const auto file = [&](const std::string& path) {
    for (const Json::Value& entry : list) {
      if (entry["id"].isString() && entry["id"].asString() == path) return entry;
    }
    return Json::Value();
  };
  Json::Value expected =
      Parsed(R"({"lang":"en","title":"","format":"srt","embedded":false,"need_preview":false,
                 "file":"languages.en.srt","forced":false,"hearing_impaired":false})");
  expected["id"] = plain;
  EXPECT_EQ(file(plain), expected);
  EXPECT_EQ(file(forced)["lang"].asString(), "zh-TW");
  EXPECT_TRUE(file(forced)["forced"].asBool());
  EXPECT_FALSE(file(forced)["hearing_impaired"].asBool());
  EXPECT_EQ(file(described)["lang"].asString(), "de");
  EXPECT_TRUE(file(described)["hearing_impaired"].asBool());
  EXPECT_EQ(file(described)["file"].asString(), "languages.German.sdh.srt");

  EXPECT_EQ(list[3], Parsed(R"({"id":3,"lang":"fre","title":"Sous-titres","format":"srt","embedded":true,
      "need_preview":true,"codec":"subrip","default":false,"forced":false,"hearing_impaired":false})"))
      << list[3];
  EXPECT_EQ(list[4]["codec"].asString(), "ass");
  EXPECT_TRUE(list[4]["forced"].asBool());
}

TEST_F(Subtitles, AreServedWithTheSameHeadersToEveryMethod) {
  const std::string text = SubRipOf(3);
  const std::string file = ann_.Put("languages.srt", text);
  const std::vector<std::string> kLines = {
      "Cache-Control: no-store",
      "X-Content-Type-Options: nosniff",
      "Access-Control-Allow-Origin: *",
      "Access-Control-Allow-Methods: GET",
      "Access-Control-Allow-Headers: origin, x-requested-with, content-type, range",
      "Content-Type: text/plain",
      "Content-Length: " + std::to_string(text.size())};
  Call call = ann_.GetCall(file);
  for (const char* verb : {"GET", "POST", "HEAD"}) {
    call.verb = verb;
    const Reply reply = house_.Send(call);
    EXPECT_EQ(reply.status, 200) << verb << reply.body;
    EXPECT_EQ(reply.body, std::string(verb) == "HEAD" ? "" : text) << verb;
    std::vector<std::string> lines = OwnLines(reply);
    std::sort(lines.begin(), lines.end());
    std::vector<std::string> expected = kLines;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(lines, expected) << verb;
  }
  call.verb = "OPTIONS";
  call.sid.clear();
  const Reply preflight = house_.Send(call);
  EXPECT_EQ(preflight.status, 204);
  EXPECT_EQ(preflight.body, "");
  EXPECT_EQ(preflight.Header("Access-Control-Allow-Origin"), "*");
  EXPECT_EQ(preflight.Count("Access-Control-Allow-Headers"), 1U);
  EXPECT_EQ(preflight.Count("Access-Control-Allow-Credentials"), 0U);
  EXPECT_EQ(preflight.Header("Access-Control-Allow-Methods"), "GET");
  call.verb = "PUT";
  const Reply put = house_.Send(call);
  EXPECT_TRUE(put.status == 405 || put.status == 501) << put.status;
}

TEST_F(Subtitles, OfRangesAreTheRightBytesOrAllOfThem) {
  const std::string text = SubRipOf(30);
  Call call = ann_.GetCall(ann_.Put("languages.srt", text));
  for (const char* range : {"0-", "5-9", "-500", "5-1", "9223372036854775808-", "99999999-", "0-0,5-6"}) {
    call.headers = {std::string("Range: bytes=") + range};
    const Reply reply = house_.Send(call);
    EXPECT_TRUE(reply.status == 200 || reply.status == 206 || reply.status == 416) << range << reply.status;
    EXPECT_TRUE(reply.status != 200 || reply.body == text) << range;
    if (reply.status == 206 && reply.Count("Content-Range") == 1) {
      EXPECT_NE(text.find(reply.body), std::string::npos) << range;
    }
  }
  call.headers = {"Range: bytes=0-0"};
  for (int i = 1; i < 1000; ++i) call.headers[0] += "," + std::to_string(i) + "-" + std::to_string(i);
  EXPECT_LT(house_.Send(call).body.size(), 20 * text.size());
}

TEST_F(Subtitles, WhoseNamesTellTheirLanguageAreReadInItsCharset) {
  const std::string cue = "1\n00:00:01,000 --> 00:00:02,000\n";
  // "Добрый вечер" in Windows-1251, where the machine's code page is English.
  const std::string text = "\xC4\xEE\xE1\xF0\xFB\xE9 \xE2\xE5\xF7\xE5\xF0\n";
  const std::string file = ann_.Put("languages.rus.srt", cue + text);
  EXPECT_EQ(ann_.Get(file).body, cue + "Добрый вечер\n");
  EXPECT_EQ(ann_.Get(file, {{"codepage", "auto"}}).body, cue + "Добрый вечер\n");
  EXPECT_EQ(ann_.Get(file, {{"codepage", "CP1252"}}).body, cue + "Äîáðûé âå÷åð\n") << "a choice holds";
  EXPECT_EQ(ann_.Get(ann_.Put("languages.srt", cue + text)).body, cue + "Äîáðûé âå÷åð\n");
}

TEST_F(Subtitles, ThatHadToBeTurnedIntoSubRipComeInOneCharset) {
  const std::string file = ann_.Put("languages.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\nFüße\n");
  for (const char* charset : {"auto", "UTF-8", "CP1251", "BIG5"}) {
    EXPECT_EQ(ann_.Get(file, {{"codepage", charset}}).body, "1\n00:00:01,000 --> 00:00:02,000\nFüße\n\n")
        << charset;
  }
}

TEST_F(Subtitles, ComeInAnotherCharsetAtOnce) {
  // "Füße" in Windows-1252; the machine's code page is English, so that is also the guess.
  const std::string cue = "1\n00:00:01,000 --> 00:00:02,000\n";
  const std::string file = ann_.Put("languages.srt", cue +
                                                         "F\xFC\xDF"
                                                         "e\n");
  EXPECT_EQ(ann_.Get(file).body, cue + "Füße\n");
  EXPECT_EQ(ann_.Get(file, {{"codepage", "CP1251"}}).body, cue + "FьЯe\n");
  EXPECT_EQ(ann_.Get(file, {{"codepage", "KOI8-R"}}).body, cue + "FЭъe\n");
  EXPECT_EQ(ann_.Get(file, {{"codepage", "auto"}}).body, cue + "Füße\n");
  EXPECT_EQ(ann_.Get(file, {{"codepage", "CP1251"}}).body, cue + "FьЯe\n") << "from what was kept";
  EXPECT_EQ(ann_.Get(file, With(kAsWebvtt, {{"codepage", "CP1251"}})).body,
            kWebvttHead + "00:00:01.000 --> 00:00:02.000\nFьЯe\n");
  // A file that is replaced is read anew.
  ann_.Put("languages.srt", cue + "other\n");
  fs::last_write_time(file, fs::file_time_type::clock::now() + std::chrono::hours(1));
  EXPECT_EQ(ann_.Get(file).body, cue + "other\n");
}

TEST_F(Subtitles, OfAWindowAreTheSameCuesInEveryWindow) {
  const std::string file = ann_.Put("languages.srt", SubRipOf(12));
  const std::string whole = ann_.Get(file, kAsWebvtt).body;
  ASSERT_TRUE(whole.starts_with(kWebvttHead));
  const auto window = [&](int start, int end) {
    const Reply reply = ann_.Get(
        file, With(kAsWebvtt, {{"start_time", std::to_string(start)}, {"end_time", std::to_string(end)}}));
    EXPECT_EQ(reply.status, 200) << start;
    EXPECT_TRUE(reply.body.starts_with(kWebvttHead)) << start;
    return reply.body.substr(std::min(reply.body.size(), kWebvttHead.size()));
  };
  const std::string spanning = "00:00:10.000 --> 00:00:19.500\nCue number 1\n\n";
  EXPECT_EQ(window(6, 12), "00:00:00.000 --> 00:00:09.500\nCue number 0\n\n" + spanning);
  EXPECT_EQ(window(12, 18), spanning) << "byte by byte what the window before had of it";
  EXPECT_EQ(window(18, 20), spanning);
  EXPECT_EQ(window(300, 306), "00:05:00.000 --> 00:05:06.000\n") << "none, in words that players take";
  // Out of order, before the film, with one end alone: a document, whatever stands in it.
  EXPECT_FALSE(window(-30, -20).empty());
  EXPECT_FALSE(window(20, 10).empty());
  EXPECT_FALSE(window(2147483647, 2147483647).empty());
  EXPECT_EQ(ann_.Get(file, With(kAsWebvtt, {{"start_time", "30"}})).body, whole);
  EXPECT_EQ(ann_.Get(file, With(kAsWebvtt, {{"start_time", "-1"}, {"end_time", "-1"}})).body, whole);
}

TEST_F(Subtitles, AreCleanedAsAsked) {
  const std::string cue = "1\n00:00:01,000 --> 00:00:02,000\n";
  const std::string file = ann_.Put("languages.srt", cue + "<i>a</i> <x>b</x> 1 < 2 {\\an8}c\n");
  EXPECT_EQ(ann_.Get(file).body, cue + "a b 1  2 c\n");
  EXPECT_EQ(ann_.Get(file, {{"keep_basic_tags", "true"}}).body, cue + "<i>a</i> b 1  2 c\n");
  EXPECT_EQ(ann_.Get(file, {{"strip_stray_brackets", "false"}}).body, cue + "a b 1 < 2 c\n");
}

TEST_F(Subtitles, WithoutTextAreNotFoundOrAnEmptyDocument) {
  const std::string empty = ann_.Put("languages.srt", "");
  const Reply reply = ann_.Get(empty);
  EXPECT_EQ(reply.status, 404);
  EXPECT_EQ(CodeOf(reply), 128);
  EXPECT_EQ(ParseJson(reply.body)["error"]["message"].asString(),
            "There is no text in this subtitle that can be shown");
  ExpectForAnyOriginOnce(reply, "no text");
  EXPECT_EQ(ann_.Get(empty, kAsWebvtt).body, kEmptyWebvtt);
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
}

TEST_F(Subtitles, AreServedToManyAtOnce) {
  const std::string text = SubRipOf(400);
  const std::string file = ann_.Put("languages.srt", text);
  std::vector<std::string> bodies(12);
  std::vector<std::thread> readers;
  for (std::string& body : bodies) readers.emplace_back([&] { body = ann_.Get(file).body; });
  for (std::thread& reader : readers) reader.join();
  for (const std::string& body : bodies) EXPECT_TRUE(body == text) << body.size();
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
}

TEST_F(Subtitles, MayBeAskedForByTheAddressesInPlaylists) {
  const std::string text = SubRipOf(2);
  const std::string file = ann_.Put("languages.srt", text);
  const SignedIn bob = house_.SignIn("bob");
  Call call =
      ann_.GetCall(file, {{"_sid", ann_.Who().sid}, {"CrvnToken", ann_.Who().token}, {"sharing_id", "x"}});
  call.sid.clear();
  for (const std::string& uid : {std::to_string(ann_.Who().account), std::to_string(bob.account)}) {
    call.parameters["uid"] = uid;
    EXPECT_EQ(house_.Send(call).body, text) << uid;
  }
  call.parameters["_sid"] = "";
  EXPECT_EQ(CodeOf(house_.Send(call)), 124) << "an account's number is no proof";
}
