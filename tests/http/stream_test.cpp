// A film from opening to closing, and what happens when something is pulled away under it.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "platform/system/places.h"
#include "tests/http/house.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

fs::path StreamsFolder() { return fs::path(kinora::system::kWorkspace) / "RAW"; }

size_t CountStreams() {
  size_t count = 0;
  if (!fs::exists(StreamsFolder())) return 0;
  for (const auto& entry : fs::directory_iterator(StreamsFolder())) count += entry.is_symlink() ? 1 : 0;
  return count;
}

void Age(const std::string& stream, int seconds) {
  const fs::path mark = StreamsFolder() / stream / "access_status";
  std::ofstream(mark) << "touch";
  fs::last_write_time(mark, fs::file_time_type::clock::now() - std::chrono::seconds(seconds));
}

bool NoRequestProcessIsLeft(const House& house) {
  // The listener itself is one; a child of it bears the same command line.
  return DescendantsLike(house.Pid(), "entry.cgi").size() == 1;
}

// Makes a film of many bytes that compress to nothing on the disk.
void Enlarge(const fs::path& film, uintmax_t size) { fs::resize_file(film, size); }

}  // namespace

TEST(RawStream, IsOpenedServedAndClosed) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const Reply opened = house.Open(ann, house.FilmId(ann, "h264_aac.mp4"));
  ASSERT_EQ(opened.status, 200) << opened.body;
  const Json::Value result = ParseJson(opened.body)["result"];
  EXPECT_EQ(result["format"].asString(), "raw");
  const std::string stream = result["stream_id"].asString();
  const std::string film = ReadWhole(house.Share() / "h264_aac.mp4");

  const Reply whole = house.Stream(ann, stream);
  EXPECT_EQ(whole.status, 200);
  EXPECT_EQ(whole.Header("Content-Type"), "video/mp4");
  EXPECT_EQ(whole.Header("Accept-Ranges"), "bytes");
  EXPECT_EQ(whole.Header("Cache-Control"), "private");
  EXPECT_TRUE(whole.body == film);

  const Reply part = house.Stream(ann, stream, {"Range: bytes=1000-1999"});
  EXPECT_EQ(part.status, 206);
  EXPECT_EQ(part.Header("Content-Range"), "bytes 1000-1999/" + std::to_string(film.size()));
  EXPECT_TRUE(part.body == film.substr(1000, 1000));
  EXPECT_EQ(house.Stream(ann, stream, {"Range: bytes=999999999-"}).status, 416);

  const Reply head = house.Stream(ann, stream, {}, "HEAD");
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.Header("Content-Length"), std::to_string(film.size()));
  EXPECT_EQ(head.body, "");

  EXPECT_EQ(CountStreams(), 1U);
  EXPECT_EQ(CodeOf(house.Close(ann, stream)), 0);
  EXPECT_EQ(CountStreams(), 0U);
  EXPECT_EQ(CodeOf(house.Stream(ann, stream)), 128);
  EXPECT_EQ(CodeOf(house.Close(ann, stream)), 128);
}

TEST(RawStream, IsTheChoiceForAFileThatPlaysAsItIs) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string film = std::to_string(house.FilmId(ann, "h264_aac.mp4"));
  const Reply reply = house.Send({"Stream", "open", {{"id", film}}, "POST", ann.sid, ann.token});
  EXPECT_EQ(ParseJson(reply.body)["result"]["format"].asString(), "raw") << reply.body;
}

TEST(AbandonedStreams, GoAtTheNextOpenWhenTheirMarkIsOld) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const int film = house.FilmId(ann, "h264_aac.mp4");
  std::vector<std::string> streams;
  for (int i = 0; i < 20; ++i) streams.push_back(house.OpenStream(ann, film));
  for (int i = 0; i < 10; ++i) Age(streams[i], 90);
  for (int i = 10; i < 15; ++i) Age(streams[i], 5);
  EXPECT_EQ(CountStreams(), 20U);
  house.OpenStream(ann, film);
  EXPECT_EQ(CountStreams(), 11U) << "ten are old; five are marked as used, five are not marked, one is new";
  for (int i = 0; i < 20; ++i) EXPECT_EQ(fs::is_symlink(StreamsFolder() / streams[i]), i >= 10) << i;
}

TEST(SourceDuringPlay, MayVanish) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  const fs::path film = house.Share() / "h264_aac.mp4";
  fs::rename(film, house.Share() / "aside");
  const Reply gone = house.Stream(ann, stream);
  EXPECT_EQ(gone.status, 404);
  EXPECT_EQ(CodeOf(gone), 128);
  EXPECT_EQ(gone.Header("Accept-Ranges"), "bytes") << "what the streamer had begun to say stays, once";
  EXPECT_EQ(gone.Header("Content-Type"), "application/json; charset=utf-8");
  EXPECT_EQ(gone.Header("Cache-Control"), "no-store");
  EXPECT_FALSE(fs::exists(film)) << "nothing is made anew";
  fs::create_symlink("/nowhere/at/all", film);
  EXPECT_EQ(house.Stream(ann, stream).status, 404) << "a dangling link";
  fs::remove(film);
  fs::create_directory(film);
  EXPECT_GE(house.Stream(ann, stream).status, 404) << "a folder";
  fs::remove(film);
  fs::rename(house.Share() / "aside", film);
  EXPECT_EQ(house.Stream(ann, stream).status, 200) << "and comes back";
}

TEST(SourceDuringPlay, MayBeReplaced) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  const auto tag = house.Stream(ann, stream, {}, "HEAD").Header("ETag");
  ASSERT_TRUE(tag.has_value());
  std::ofstream(house.Share() / "new") << "something else";
  fs::rename(house.Share() / "new", house.Share() / "h264_aac.mp4");
  const Reply reply = house.Stream(ann, stream, {"Range: bytes=0-3", "If-Range: " + *tag});
  EXPECT_EQ(reply.status, 200) << "not a piece of one file glued to a piece of the other";
  EXPECT_EQ(reply.body, "something else");
}

TEST(SourceBeforePlay, ThatIsGoneOpensNothing) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const int film = house.FilmId(ann, "h264_aac.mp4");
  fs::rename(house.Share() / "h264_aac.mp4", house.Share() / "aside");
  const Reply reply = house.Open(ann, film);
  EXPECT_EQ(CodeOf(reply), 1211);
  EXPECT_EQ(reply.status, 409);
  EXPECT_EQ(CountStreams(), 0U);
  std::ofstream(house.Share() / "h264_aac.mp4") << "#EXTM3U\n/etc/passwd\n";
  EXPECT_EQ(CodeOf(house.Open(ann, film)), 1211) << "a playlist in disguise";
  std::ofstream(house.Share() / "h264_aac.mp4", std::ios::trunc);
  EXPECT_EQ(CodeOf(house.Open(ann, film)), 1211) << "an empty file";
  EXPECT_EQ(CountStreams(), 0U);
}

TEST(Client, ThatVanishesLeavesNoProcess) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  Enlarge(house.Share() / "h264_aac.mp4", 1ULL << 30);
  for (int i = 0; i < 20; ++i) {
    Connection connection(house.Port());
    connection.Send(Wire({"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", ann.sid}));
    EXPECT_GE(connection.ReadAtLeast(100'000).size(), 100'000U);
    connection.Abort();
  }
  EXPECT_TRUE(Eventually([&] { return NoRequestProcessIsLeft(house); }));
}

TEST(Client, ThatStopsReadingHoldsOneProcessAndNoSpoolFile) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  Enlarge(house.Share() / "h264_aac.mp4", 1ULL << 30);
  Connection paused(house.Port());
  paused.Send(Wire({"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", ann.sid}));
  EXPECT_GE(paused.ReadAtLeast(1000).size(), 1000U);
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0) << "others are served";
  EXPECT_TRUE(Eventually([&] { return DescendantsLike(house.Pid(), "entry.cgi").size() == 2; }));
  for (const auto& entry : fs::directory_iterator(kinora::system::kRunFolder)) {
    EXPECT_LT(entry.is_regular_file() ? entry.file_size() : 0, 1U << 20) << entry.path();
  }
  EXPECT_GE(paused.ReadAtLeast(2'000'000).size(), 2'000'000U) << "and goes on";
}

TEST(ParallelOpens, AllSucceedOrAreRefusedClearly) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const int film = house.FilmId(ann, "h264_aac.mp4");
  std::vector<int> codes(200, -2);
  std::vector<std::thread> clients;
  for (int& code : codes) clients.emplace_back([&] { code = CodeOf(house.Open(ann, film)); });
  for (std::thread& client : clients) client.join();
  size_t opened = 0;
  for (const int code : codes) {
    EXPECT_GE(code, 0) << "every answer is whole";
    opened += code == 0 ? 1 : 0;
  }
  // A machine with other work may refuse some, since a film must be looked into in time.
  EXPECT_GT(opened, 0U) << house.Log().substr(0, 2000);
  EXPECT_EQ(CountStreams(), opened);
  EXPECT_TRUE(Eventually([&] { return NoRequestProcessIsLeft(house); }));
}
