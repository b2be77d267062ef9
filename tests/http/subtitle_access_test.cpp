// Who gets the text of a subtitle, and what passes for one.
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "tests/http/hls_expectations.h"
#include "tests/http/parental_control.h"
#include "tests/http/subtitle_reader.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "languages.mkv";
constexpr char kCanary[] = "1\n00:00:01,000 --> 00:00:02,000\ncanary\n";

void ExpectNoText(const Reply& reply, const std::string& what) {
  EXPECT_TRUE(reply.status == 400 || reply.status == 404)
      << what << ": " << reply.status << " " << reply.body;
  EXPECT_EQ(reply.body.find("canary"), std::string::npos) << what;
  EXPECT_EQ(reply.body.find("root:"), std::string::npos) << what;
  EXPECT_EQ(reply.Count("Set-Cookie"), 0U) << what;
}

}  // namespace

TEST(SubtitleFile, IsOneThatTheListingHolds) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string file = ann.Put("languages.srt", SubRipOf(1));
  const std::string other = ann.Put("another.srt", kCanary);
  const std::string outside = house.Share().parent_path() / "languages.srt";
  std::ofstream(outside) << kCanary;
  fs::create_symlink(outside, house.Share() / "languages.en.srt");
  fs::create_directory(house.Share() / "languages.folder.srt");
  const std::string share = house.Share();
  const std::string refused[] = {other,
                                 outside,
                                 share + "/languages.en.srt",
                                 share + "/languages.folder.srt",
                                 share + "/" + kFilm,
                                 share + "/./languages.srt",
                                 share + "//languages.srt",
                                 share + "/Subs/../languages.srt",
                                 share + "/../films/languages.srt",
                                 share + "/languages.srt/",
                                 share + "/LANGUAGES.srt",
                                 share + "/languages.sr?",
                                 share + "/languages.srt%00.srt",
                                 "/etc/passwd",
                                 "/etc/../etc/passwd",
                                 "/proc/self/environ",
                                 "/dev/zero",
                                 "//",
                                 "/",
                                 "languages.srt",
                                 "../../etc/passwd",
                                 "..%2f..%2fetc%2fpasswd",
                                 "file://" + file,
                                 "concat:" + file + "|" + other,
                                 "-i",
                                 "%d",
                                 "3abc",
                                 "03",
                                 "-1",
                                 "+3",
                                 "3 ",
                                 "10000",
                                 "99999999999999999999",
                                 "' OR '1'='1",
                                 "dlna",
                                 "/" + std::string(8000, 'a'),
                                 file + "\r\nSet-Cookie: a=b"};
  for (const std::string& id : refused) {
    ExpectNoText(ann.Get(id), id.substr(0, 200));
    ExpectNoText(ann.Get(id, {{"output_webvtt", "true"}}), id.substr(0, 200));
  }
  const Reply reply = ann.Get(other);
  EXPECT_EQ(CodeOf(reply), 128);
  ExpectForAnyOriginOnce(reply, "another film's");
  EXPECT_EQ(ann.Get(file).status, 200);
}

TEST(SubtitleFile, MayHaveANameThatIsNoText) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(1);
  const std::string raw = ann.Put("languages.\xFF\n\r.srt", text);
  const Json::Value list = ann.List();
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(list[0]["file"].asString(), "languages.\xEF\xBF\xBD\n\r.srt");
  // The front lets no control characters pass in addresses.
  for (const std::string& id : {list[0]["id"].asString(), raw}) {
    Call call = ann.GetCall(id);
    call.verb = "POST";
    EXPECT_EQ(house.Send(call).body, text) << id;
  }
}

TEST(SubtitleOfDlna, IsWhereTheLinkLeadsWithinTheListing) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string text = SubRipOf(2);
  const std::string file = ann.Put("languages.srt", text);
  const Reply none = ann.Get("DLNA");
  EXPECT_EQ(none.status, 404);
  EXPECT_EQ(CodeOf(none), 1151);
  ExpectForAnyOriginOnce(none, "no link");
  const fs::path link = CacheFolderOf(house.Share() / kFilm) / "CRVNVIDEO_SUBTITLE_DLNA.srt";
  const auto lead = [&](const std::string& target) {
    fs::create_directories(link.parent_path());
    fs::remove(link);
    fs::create_symlink(target, link);
  };
  lead(file);
  EXPECT_EQ(ann.Get("DLNA").body, text);
  const std::string other = ann.Put("another.srt", kCanary);
  for (const std::string& target : {other, std::string("/etc/passwd"), std::string("languages.srt"),
                                    house.Share().string() + "/../films/languages.srt", std::string("DLNA"),
                                    std::string("3"), link.string()}) {
    lead(target);
    ExpectNoText(ann.Get("DLNA"), target);
  }
}

TEST(SubtitleCharset, IsOneOfTheList) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const std::string file = ann.Put("languages.srt", SubRipOf(1));
  const Reply reply = house.Send({"Subtitle", "charsets", {}, "GET", ann.Who().sid});
  const Json::Value document = ParseJson(reply.body);
  const Json::Value& charsets = document["result"]["charsets"];
  ASSERT_GT(charsets.size(), 30U) << reply.body;
  EXPECT_EQ(charsets[0]["name"].asString(), "auto");
  for (const char* name : {"UTF-8", "BIG5", "CP1252", "CP932"}) {
    EXPECT_EQ(ann.Get(file, {{"codepage", name}}).body, SubRipOf(1)) << name;
  }
  for (const char* name : {"UTF-7", "UNICODE-1-1-UTF-7", "utf-8", "UTF-8//IGNORE", "//TRANSLIT", "-f",
                           "--help", "../../tmp/x", "CP1252;id", "$(id)", "UTF-8\nx"}) {
    ExpectNoText(ann.Get(file, {{"codepage", name}}), name);
  }
  for (const std::string& name : CacheFilesOf(file)) {
    EXPECT_TRUE(name.find("UTF-7") == std::string::npos && name.find("IGNORE") == std::string::npos) << name;
  }
}

TEST(SubtitlePin, IsAskedForWhereTheFilmIsBlocked) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const SubtitleReader bob(house, house.SignIn("bob"), kFilm);
  const std::string file = ann.Put("languages.srt", kCanary);
  BlockFilm(bob.Who(), bob.Film(), "1234");
  const fs::path link = CacheFolderOf(house.Share() / kFilm) / "CRVNVIDEO_SUBTITLE_DLNA.srt";
  fs::create_directories(link.parent_path());
  fs::create_symlink(file, link);
  const auto answer = [&](Call call, const Parameters& pin) {
    call.parameters.insert(pin.begin(), pin.end());
    call.verb = "POST";  // so that no log holds it
    return house.Send(call);
  };
  const Call calls[] = {bob.ListCall(), bob.GetCall(file), bob.GetCall("3", {{"output_webvtt", "true"}})};
  for (const Call& call : calls) {
    const std::string what = call.method + "?" + Encode(call.parameters);
    for (const auto& [pin, code] : std::map<std::string, int>{{"", 1400}, {"1235", 1401}}) {
      const Reply refused = answer(call, {{"pin", pin}});
      EXPECT_EQ(refused.status, 403) << what << pin;
      EXPECT_EQ(CodeOf(refused), code) << what << pin << refused.body;
      EXPECT_EQ(refused.body.find("languages"), std::string::npos) << what;
      EXPECT_EQ(refused.body.find("canary"), std::string::npos) << what;
    }
    EXPECT_EQ(CodeOf(answer(call, {})), 1400) << what;
  }
  for (const char* id : {"DLNA", "4", "/etc/passwd"}) {
    EXPECT_EQ(CodeOf(answer(bob.GetCall(id), {})), 1400) << "not even whether there is one: " << id;
  }
  EXPECT_EQ(CacheFilesOf(file), std::vector<std::string>{});
  const Reply list = answer(calls[0], {{"pin", "1234"}});
  EXPECT_EQ(ParseJson(list.body)["result"]["subtitles"].size(), 3U) << list.body;
  EXPECT_EQ(answer(calls[1], {{"pin", "1234"}}).body, kCanary);
  EXPECT_TRUE(answer(calls[2], {{"pin", "1234"}}).body.starts_with("WEBVTT\n"));
  EXPECT_EQ(CodeOf(answer(calls[1], {})), 1400) << "one answer opens one time";
  EXPECT_EQ(ann.Get(file).body, kCanary) << "who is not blocked needs none";
}
