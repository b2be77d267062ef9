// Subtitles inside a film.
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "tests/http/hls_expectations.h"
#include "tests/http/subtitle_reader.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "languages.mkv";  // with a track of SubRip, number 3, and one of ASS, number 4
constexpr char kPictures[] =
    "subtitled.mkv";  // with a track of SubRip, number 1, one of ASS, one of PGS, number 3
const std::string kEmptyWebvtt =
    "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n00:00:00.000 --> 00:00:00.000\n";
const std::string kWords = "1\nThe first line\n\n2\nThe second line\n";
const Parameters kAsWebvtt = {{"output_webvtt", "true"}};

// Without times, which the container has moved by a few milliseconds, and without blank lines at the end.
std::string Words(const std::string& body) {
  std::string words;
  std::istringstream lines(body);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("-->") == std::string::npos) words += line + "\n";
  }
  const size_t end = words.find_last_not_of('\n');
  return end == std::string::npos ? "" : words.substr(0, end + 1) + "\n";
}

void ExpectNotFound(const Reply& reply, const std::string& message) {
  EXPECT_EQ(reply.status, 404) << reply.body;
  EXPECT_EQ(CodeOf(reply), 128);
  EXPECT_EQ(ParseJson(reply.body)["error"]["message"].asString(), message);
  ExpectForAnyOriginOnce(reply, message);
}

}  // namespace

TEST(SubtitleTrack, IsWaitedForAsSubRip) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  EXPECT_EQ(Words(ann.Get("3").body), kWords);
  EXPECT_EQ(Words(ann.Get("4").body), kWords);
  EXPECT_EQ(Words(ann.Get("3").body), kWords) << "from what was kept";
  for (const Json::Value& subtitle : ann.List()) EXPECT_FALSE(subtitle["need_preview"].asBool()) << subtitle;
  EXPECT_EQ(SubtitleScratchFiles(), std::vector<std::string>{});
}

TEST(SubtitleTrack, IsAnEmptyDocumentUntilItIsTakenOut) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  EXPECT_EQ(ann.Get("3", kAsWebvtt).body, kEmptyWebvtt);
  ASSERT_TRUE(ann.Extracted("3")) << house.Log();
  const std::string body = ann.Get("3", kAsWebvtt).body;
  EXPECT_NE(body.find("\nThe first line\n"), std::string::npos) << body;
  EXPECT_EQ(Words(ann.Get("3", {{"preview", "true"}}).body), kWords) << "the whole is there, so it is given";
  EXPECT_TRUE(Eventually([] { return SubtitleScratchFiles().empty(); }));
}

TEST(SubtitleTrack, ThatIsNoneIsRefusedBeforeTheFilmIsRead) {
  const House house({kPictures});
  const SubtitleReader ann(house, house.SignIn("ann"), kPictures);
  EXPECT_EQ(ann.List().size(), 2U);
  const Json::Value all = ann.List({{"include_image", "true"}});
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[2]["format"].asString(), "pgs");
  for (const Parameters& form : {Parameters(), kAsWebvtt, Parameters{{"preview", "true"}}}) {
    ExpectNotFound(ann.Get("3", form), "This subtitle is made of pictures and cannot be had as text");
    for (const char* track : {"0", "4", "77", "9999"}) {
      ExpectNotFound(ann.Get(track, form), "The film has no such subtitle");
    }
  }
  EXPECT_EQ(CacheFilesOf(house.Share() / kPictures), std::vector<std::string>{});
}

TEST(SubtitleTrack, OfAPlaylistInAFilmsPlaceIsRefused) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  ASSERT_EQ(Words(ann.Get("3").body), kWords);
  const std::string canary = ann.Put("secret.srt", "1\n00:00:01,000 --> 00:00:02,000\ncanary\n");
  ann.Put(kFilm, "ffconcat version 1.0\nfile " + canary + "\n");
  for (const bool cache_is_old : {true, false}) {
    const auto now = fs::file_time_type::clock::now();
    fs::last_write_time(house.Share() / kFilm,
                        cache_is_old ? now + std::chrono::hours(1) : now - std::chrono::hours(9));
    for (const char* track : {"0", "3", "4"}) {
      for (const Parameters& form : {Parameters(), kAsWebvtt}) {
        const Reply reply = ann.Get(track, form);
        // No such film any more, once a scan has noticed.
        EXPECT_TRUE(CodeOf(reply) == 1102 || CodeOf(reply) == 1101) << track << reply.body;
        EXPECT_EQ(reply.body.find("canary"), std::string::npos);
        ExpectForAnyOriginOnce(reply, track);
      }
    }
  }
}

TEST(SubtitleTrack, ThatIsChosenWhenAStreamIsOpenedIsTakenOutAtOnce) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  const auto open = [&](const char* subtitle) {
    return CodeOf(
        house.Send({"Stream",
                    "open",
                    {{"id", std::to_string(ann.Film())}, {"format", "raw"}, {"subtitle_id", subtitle}},
                    "POST",
                    ann.Who().sid,
                    ann.Who().token}));
  };
  EXPECT_EQ(open("77"), 0) << "a stream without a subtitle is better than none";
  EXPECT_EQ(open("DLNA"), 0);
  EXPECT_EQ(open("4"), 0);
  ASSERT_TRUE(ann.Extracted("4")) << house.Log();
  const Json::Value list = ann.List();
  EXPECT_TRUE(list[0]["need_preview"].asBool()) << "nobody has chosen the other one";
  EXPECT_TRUE(Eventually([] { return SubtitleScratchFiles().empty(); }));
}

TEST(SubtitleTrack, IsTakenOutOnceForMany) {
  const House house({kFilm});
  const SubtitleReader ann(house, house.SignIn("ann"), kFilm);
  std::vector<std::thread> players;
  std::vector<std::string> bodies(20);
  for (std::string& body : bodies) players.emplace_back([&] { body = ann.Get("3", kAsWebvtt).body; });
  for (std::thread& player : players) player.join();
  for (const std::string& body : bodies) EXPECT_TRUE(body.starts_with("WEBVTT\n")) << body;
  ASSERT_TRUE(ann.Extracted("3"));
  EXPECT_EQ(Words(ann.Get("3").body), kWords);
  EXPECT_TRUE(Eventually([] { return SubtitleScratchFiles().empty(); }));
}
