// The list of films and their pictures, as the page asks for them.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/http/house.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "h264_aac.mp4";

// A further film under a name of any bytes.
void AddFilm(const House& house, const std::string& name) {
  fs::copy_file(house.Share() / kFilm, house.Share() / name);
  fs::last_write_time(house.Share() / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
}

Reply List(const House& house, const SignedIn& who, const Parameters& parameters = {}) {
  return house.Send({"Catalog", "list", parameters, "GET", who.sid});
}

Json::Value Result(const Reply& reply) { return ParseJson(reply.body)["result"]; }

// Asks for a scan, once, and waits until it has found so many films.
void RescanFor(const House& house, const SignedIn& who, int films) {
  const Reply reply = house.Send({"Catalog", "rescan", {}, "POST", who.sid, who.token});
  EXPECT_EQ(CodeOf(reply), 0) << reply.body;
  EXPECT_TRUE(Eventually([&] { return Result(List(house, who))["total"].asInt() == films; })) << house.Log();
}

Reply Picture(const House& house, const SignedIn& who, const Parameters& parameters) {
  return house.Send({"Film", "picture", parameters, "GET", who.sid});
}

// The width that stands in a JPEG file's frame header.
int WidthOfJpeg(const std::string& bytes) {
  const auto at = [&](size_t i) { return static_cast<unsigned char>(bytes.at(i)); };
  for (size_t i = 2; i + 9 < bytes.size(); i += 2 + at(i + 2) * 256 + at(i + 3)) {
    if (at(i) != 0xFF) return -1;
    if (at(i + 1) >= 0xC0 && at(i + 1) <= 0xC2) return at(i + 7) * 256 + at(i + 8);
  }
  return -1;
}

}  // namespace

TEST(Rescan, FindsANewFilmAndLeavesNoProcess) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  AddFilm(house, "second.mp4");
  RescanFor(house, ann, 2);
  EXPECT_TRUE(Eventually([&] {
    return !Result(house.Send({"Catalog", "progress", {}, "GET", ann.sid}))["running"].asBool();
  }));
  // A scan that has said that it is through may still be about to end.
  EXPECT_TRUE(Eventually([&] { return DescendantsLike(house.Pid(), "scan").size() == 1; }))
      << "the one that watches";
}

TEST(Picture, IsAJpegThatTheBrowserKeeps) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string id = std::to_string(house.FilmId(ann, kFilm));
  const Reply picture = Picture(house, ann, {{"id", id}});
  ASSERT_EQ(picture.status, 200) << picture.body << house.Log();
  EXPECT_EQ(picture.Header("Content-Type"), "image/jpeg");
  EXPECT_EQ(picture.Header("Cache-Control"), "private, max-age=3600");
  EXPECT_EQ(picture.Header("X-Content-Type-Options"), "nosniff");
  EXPECT_EQ(picture.Header("Content-Length"), std::to_string(picture.body.size()));
  EXPECT_TRUE(picture.Header("ETag").has_value());
  EXPECT_TRUE(picture.body.starts_with("\xFF\xD8\xFF"));
  EXPECT_TRUE(picture.body.ends_with("\xFF\xD9"));
  EXPECT_TRUE(Picture(house, ann, {{"id", id}}).body == picture.body) << "taken once";
}

TEST(Picture, ComesInOneOfAFewWidths) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string id = std::to_string(house.FilmId(ann, kFilm));
  const std::string usual = Picture(house, ann, {{"id", id}}).body;
  for (const char* width : {"161", "319", "320"}) {
    EXPECT_TRUE(Picture(house, ann, {{"id", id}, {"width", width}}).body == usual) << width;
  }
  const int small = WidthOfJpeg(Picture(house, ann, {{"id", id}, {"width", "16"}}).body);
  EXPECT_GT(small, 0);
  EXPECT_LE(small, 160);
  for (const char* width : {"0", "15", "1281", "-320", "abc"}) {
    EXPECT_EQ(CodeOf(Picture(house, ann, {{"id", id}, {"width", width}})), 101) << width;
  }
}

TEST(Picture, OfAFilmThatIsGoneIsNotFound) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string id = std::to_string(house.FilmId(ann, kFilm));
  fs::rename(house.Share() / kFilm, house.Share() / "aside");
  const Reply none = Picture(house, ann, {{"id", id}});
  EXPECT_EQ(none.status, 404) << none.body;
  EXPECT_EQ(CodeOf(Picture(house, ann, {{"id", "424242"}})), 1101);
}

TEST(Tracks, AreListedInTheOrderOfTheFile) {
  const House house({"languages.mkv", "silent.mp4"});
  const SignedIn ann = house.SignIn("ann");
  const auto tracks = [&](const std::string& film) {
    const std::string id = std::to_string(house.FilmId(ann, film));
    return Result(house.Send({"Film", "tracks", {{"id", id}}, "GET", ann.sid}));
  };
  const Json::Value several = tracks("languages.mkv");
  ASSERT_EQ(several["audio"].size(), 2U) << several;
  EXPECT_EQ(several["audio"][0]["id"], "1");
  EXPECT_EQ(several["audio"][0]["language"], "eng");
  EXPECT_EQ(several["audio"][0]["title"], "Original");
  EXPECT_EQ(several["audio"][1]["codec"], "mp3");
  EXPECT_EQ(several["video"][0]["width"].asInt(), 1280);
  const Json::Value silent = tracks("silent.mp4");
  EXPECT_TRUE(silent["audio"].isArray() && silent["audio"].empty()) << silent;
}

TEST(Tracks, OfAFilmThatIsGoneCannotBeRead) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const Parameters film = {{"id", std::to_string(house.FilmId(ann, kFilm))}};
  fs::rename(house.Share() / kFilm, house.Share() / "aside");
  EXPECT_EQ(CodeOf(house.Send({"Film", "tracks", film, "GET", ann.sid})), 1102);
  EXPECT_EQ(CodeOf(house.Send({"Film", "tracks", {{"id", "424242"}}, "GET", ann.sid})), 1101);
  EXPECT_EQ(CodeOf(house.Send({"Film", "tracks", {{"id", "x"}}, "GET", ann.sid})), 101);
  EXPECT_EQ(CodeOf(house.Send({"Film", "tracks", film, "GET", ""})), 124);
}

TEST(CatalogList, SearchesSortsAndPages) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  AddFilm(house, "second.mp4");
  AddFilm(house, "third.mp4");
  RescanFor(house, ann, 3);
  EXPECT_EQ(Result(List(house, ann, {{"search", "SECOND"}}))["total"].asInt(), 1);
  EXPECT_EQ(Result(List(house, ann, {{"search", "no such film"}}))["total"].asInt(), 0);
  EXPECT_EQ(Result(List(house, ann, {{"search", "%"}}))["total"].asInt(), 0) << "no pattern";
  for (const char* order : {"title", "newest", "duration", "size"}) {
    EXPECT_EQ(Result(List(house, ann, {{"sort", order}}))["videos"].size(), 3U) << order;
  }
  std::vector<int> ids;
  for (const char* offset : {"0", "1", "2"}) {
    const Json::Value page = Result(List(house, ann, {{"limit", "1"}, {"offset", offset}}));
    EXPECT_EQ(page["total"].asInt(), 3);
    ASSERT_EQ(page["videos"].size(), 1U);
    ids.push_back(page["videos"][0]["id"].asInt());
  }
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(std::unique(ids.begin(), ids.end()), ids.end()) << "every film on one page only";
  EXPECT_EQ(Result(List(house, ann, {{"offset", "2147483647"}}))["videos"].size(), 0U);
}

TEST(CatalogList, RefusesWhatIsOutOfBounds) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::vector<Parameters> refused = {{{"limit", "0"}},
                                           {{"limit", "1001"}},
                                           {{"limit", "-1"}},
                                           {{"offset", "-1"}},
                                           {{"offset", "2147483648"}},
                                           {{"sort", "id; DROP TABLE files"}},
                                           {{"search", std::string(257, 'x')}}};
  for (const Parameters& parameters : refused) {
    EXPECT_EQ(CodeOf(List(house, ann, parameters)), 101) << Encode(parameters);
  }
  EXPECT_EQ(CodeOf(List(house, ann, {{"limit", "1000"}, {"search", std::string(256, 'x')}})), 0);
}

TEST(FileNames, OfAnyBytesAreListedAndPlayed) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::vector<std::pair<std::string, std::string>> names = {
      {"Füße 電影.mp4", "Füße 電影.mp4"},
      {"a\r\nSet-Cookie: x=1.mp4", "a\r\nSet-Cookie: x=1.mp4"},
      {"b\xFF\xFE.mp4", "b\xEF\xBF\xBD\xEF\xBF\xBD.mp4"},
      {"c\"<script>.mp4", "c\"<script>.mp4"}};
  for (const auto& [name, shown] : names) AddFilm(house, name);
  RescanFor(house, ann, static_cast<int>(names.size()) + 1);
  const std::string film = ReadWhole(house.Share() / kFilm);
  for (const auto& [name, shown] : names) {
    const std::string stream = house.OpenStream(ann, house.FilmId(ann, shown));
    const Reply reply = house.Stream(ann, stream);
    EXPECT_EQ(reply.status, 200) << shown;
    EXPECT_EQ(reply.Count("Set-Cookie"), 0U);
    EXPECT_TRUE(reply.body == film) << shown;
  }
}

TEST(SessionId, InTheAddressServesPlayersWithoutCookies) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, kFilm));
  const Parameters film = {{"id", stream}, {"format", "raw"}, {"_sid", ann.sid}};
  EXPECT_EQ(house.Send({"Stream", "stream", film}).status, 200);
  const Reply head = house.Send({"Stream", "stream", film, "HEAD"});
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.body, "");
  const std::string other = house.SignIn("bob").sid;
  EXPECT_EQ(CodeOf(house.Send({"Stream", "stream", film, "GET", other})), -1)
      << "the address goes before the cookie";
  Parameters unknown = film;
  unknown["_sid"] = std::string(43, 'x');
  EXPECT_EQ(CodeOf(house.Send({"Stream", "stream", unknown, "GET", ann.sid})), 124);
}
