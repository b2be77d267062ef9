// Films as live WebM: one body that is made while it goes out.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sstream>

#include "tests/http/hls_expectations.h"
#include "tests/http/viewer.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kEncoded[] = "mpeg4_mp3.avi";   // six seconds
constexpr char kCopied[] = "vp9_opus.webm";    // four seconds
constexpr char kLong[] = "bulky.mkv";          // 150 seconds, more than all buffers on the way hold
constexpr char kMagic[] = "\x1A\x45\xDF\xA3";  // of EBML

void ExpectLiveHead(const Reply& reply, const std::string& what) {
  ASSERT_EQ(reply.status, 200) << what << reply.body.substr(0, 500);
  EXPECT_EQ(reply.Header("Content-Type"), "video/webm") << what;
  EXPECT_EQ(reply.Header("Cache-Control"), "no-store") << what;
  EXPECT_EQ(reply.Count("Content-Length"), 0U) << what;
  ExpectForAnyOriginOnce(reply, what);
}

// The times of the first and the last picture, as ffprobe sees them.
struct Times {
  double first = -1;
  double last = -1;
};
Times TimesOf(const std::string& body) {
  const fs::path folder = fs::temp_directory_path();
  std::ofstream(folder / "x.webm", std::ios::binary) << body;
  fs::remove(folder / "times");
  Process probe({"/usr/bin/ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                 "packet=pts_time", "-of", "csv=p=0", folder / "x.webm"},
                folder / "times", folder / "ffprobe.log");
  EXPECT_EQ(probe.Wait(), 0) << ReadWhole(folder / "ffprobe.log");
  std::istringstream lines(ReadWhole(folder / "times"));
  Times times;
  for (std::string line; std::getline(lines, line);) {
    times.last = std::stod(line);
    if (times.first < 0) times.first = times.last;
  }
  return times;
}

// Those that read a film of the house.
std::vector<pid_t> Encoders(const House& house) { return EncodersIn(house.Share()); }
// The listener's request processes.
std::vector<pid_t> Requests(const House& house) {
  const std::vector<pid_t> listeners = DescendantsLike(house.Pid(), "entry.cgi");
  return listeners.empty() ? listeners : Descendants(listeners[0]);
}
bool NothingIsLeft(const House& house) {
  return Eventually([&] { return Encoders(house).empty() && Requests(house).empty(); });
}

// A request for the film, whose answer is read as the test likes.
void Ask(Connection& connection, const Viewer& viewer, const ViewedStream& stream) {
  connection.Send(
      Wire({"Stream", "stream", {{"id", stream.id}, {"format", stream.format}}, "GET", viewer.Who().sid}));
}
// Until the film is on its way.
void Begin(Connection& connection, const Viewer& viewer, const ViewedStream& stream) {
  Ask(connection, viewer, stream);
  EXPECT_NE(connection.ReadAtLeast(20'000).find(kMagic), std::string::npos);
}

}  // namespace

TEST(WebmFilm, PlaysFromItsBeginningToItsEndAndIsClosed) {
  const House house({kEncoded, kCopied});
  const Viewer ann(house, house.SignIn("ann"));
  const std::pair<const char*, double> films[] = {{kEncoded, 6}, {kCopied, 4}};
  for (const auto& [film, seconds] : films) {
    const ViewedStream stream = ann.Open(film, "webm_remux");
    EXPECT_EQ(stream.format, "webm_remux");
    EXPECT_TRUE(Encoders(house).empty()) << "nobody has asked for the film yet";
    const Reply reply = ann.Get(ann.Address(stream, {}));
    ExpectLiveHead(reply, film);
    EXPECT_TRUE(reply.body.starts_with(kMagic)) << film;
    const Times times = TimesOf(reply.body);
    EXPECT_NEAR(times.first, 0, 0.1) << film;
    EXPECT_NEAR(times.last, seconds, 0.2) << film;
    EXPECT_TRUE(NothingIsLeft(house));
    const fs::path folder = fs::canonical(stream.Folder());
    EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
    EXPECT_FALSE(fs::is_symlink(stream.Folder()) || fs::exists(folder));
    EXPECT_EQ(CodeOf(ann.Get(ann.Address(stream, {}))), 128);
  }
}

TEST(WebmFilm, StartsWhereItIsWanted) {
  const House house({kEncoded});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kEncoded, "webm_remux");
  const Reply reply = ann.Get(ann.Address(stream, {{"seek", "3"}}));
  ExpectLiveHead(reply, "from the middle");
  const Times times = TimesOf(reply.body);
  EXPECT_NEAR(times.first, 3, 0.1) << "the film's own times";
  EXPECT_NEAR(times.last, 6, 0.2);
  for (const char* beyond : {"7", "3600", "2147483647"}) {
    ExpectRefused(ann.Get(ann.Address(stream, {{"seek", beyond}})), 404, 128, beyond);
    EXPECT_EQ(ann.Get(ann.Address(stream, {{"seek", beyond}}), {}, "HEAD").status, 404) << beyond;
  }
  for (const char* malformed : {"-1", "1.5", "x", "01", "2147483648", "1e1", " 1"}) {
    ExpectRefused(ann.Get(ann.Address(stream, {{"seek", malformed}})), 400, 101, malformed);
  }
  EXPECT_TRUE(NothingIsLeft(house));
}

TEST(WebmFilm, IsOpenedForThoseOnlyWhoAskForIt) {
  const House house({kEncoded});
  const Viewer ann(house, house.SignIn("ann"));
  EXPECT_EQ(ann.Open(kEncoded, "auto").format, "hls");
  EXPECT_EQ(ann.Open(kEncoded, "webm_remux,raw").format, "webm_remux");
  EXPECT_EQ(ann.Open(kEncoded, "webm_remux,ss").format, "ss") << "which comes first";
}

TEST(WebmHead, TellsWhatGetWouldBeginWithAndStartsNoEncoder) {
  const House house({kLong});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kLong, "webm_remux");
  const Reply head = ann.Get(ann.Address(stream, {}), {}, "HEAD");
  ExpectLiveHead(head, "HEAD");
  EXPECT_EQ(head.body, "");
  EXPECT_TRUE(Encoders(house).empty());
  const Reply preflight =
      ann.Get(ann.Address(stream, {{"_sid", ""}}), {"Origin: http://cast.example"}, "OPTIONS");
  EXPECT_EQ(preflight.status, 204);
  EXPECT_EQ(preflight.Header("Access-Control-Allow-Origin"), "*");
  EXPECT_EQ(ann.Get(ann.Address(stream, {}), {}, "POST").status, 405);
}

// Browsers do that when the line breaks; what they would get belongs to another encoding.
TEST(WebmRange, IsRefusedWhereItAsksForTheRestByItsBytes) {
  const House house({kEncoded});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kEncoded, "webm_remux");
  for (const char* const range : {"bytes=1-", "bytes=5000-6000", "bytes=0-5,9-10", "bytes=-500"}) {
    const Reply reply = ann.Get(ann.Address(stream, {}), {std::string("Range: ") + range});
    EXPECT_EQ(reply.status, 416) << range;
    EXPECT_EQ(CodeOf(reply), 130) << range;
    ExpectForAnyOriginOnce(reply, range);
  }
  EXPECT_TRUE(Encoders(house).empty());
  for (const char* const range : {"bytes=0-", "seconds=5-", "nonsense"}) {
    ExpectLiveHead(ann.Get(ann.Address(stream, {}), {std::string("Range: ") + range}), range);
  }
}

TEST(WebmAccess, IsTheOpenersWhileHisSessionLasts) {
  const House house({kEncoded});
  const Viewer ann(house, house.SignIn("ann"));
  const Viewer bob(house, house.SignIn("bob"));
  const ViewedStream stream = ann.Open(kEncoded, "webm_remux");
  const auto as = [&](const std::string& sid) { return ann.Get(ann.Address(stream, {{"_sid", sid}})); };
  ExpectRefused(as(""), 401, 124, "no session");
  ExpectRefused(as(std::string(43, 'A')), 401, 124, "a made up session");
  ExpectRefused(as(bob.Who().sid), 404, 128, "somebody else");
  EXPECT_EQ(ann.Get(ann.Address(stream, {{"_sid", ""}}), {}, "HEAD").status, 401);
  EXPECT_EQ(CodeOf(bob.Close(stream)), 128);
  ExpectLiveHead(as(ann.Who().sid), "the opener");
  ASSERT_EQ(CodeOf(house.Send({"Session", "sign_out", {}, "POST", ann.Who().sid, ann.Who().token})), 0);
  ExpectRefused(as(ann.Who().sid), 401, 124, "a revoked session");
  ExpireAllSessions();
  ExpectRefused(as(bob.Who().sid), 401, 124, "an expired session");
  EXPECT_TRUE(NothingIsLeft(house));
  EXPECT_EQ(house.Log().find(ann.Who().sid), std::string::npos) << "no session's id is in any log";
}

TEST(WebmClient, ThatBreaksOffEndsTheEncoder) {
  const House house({kLong});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kLong, "webm_remux");
  {
    Connection viewer(house.Port());
    Begin(viewer, ann, stream);
    EXPECT_EQ(Encoders(house).size(), 1U);
    viewer.Abort();
  }
  EXPECT_TRUE(NothingIsLeft(house)) << house.Log();
  Connection viewer(house.Port());
  Begin(viewer, ann, stream);
  viewer.Finish();
  EXPECT_TRUE(NothingIsLeft(house)) << "in good order: " << house.Log();
  ExpectLiveHead(ann.Get(ann.Address(stream, {{"seek", "148"}})), "and the stream is there");
}

TEST(WebmClient, ThatLeavesASilentEncoderEndsItToo) {
  const House house({kLong});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kLong, "webm_remux");
  Connection viewer(house.Port());
  Begin(viewer, ann, stream);
  const std::vector<pid_t> encoders = Encoders(house);
  ASSERT_EQ(encoders.size(), 1U);
  kill(encoders[0], SIGSTOP);
  viewer.Finish();
  EXPECT_TRUE(NothingIsLeft(house)) << house.Log();
  EXPECT_EQ(house.Log().find("delivers nothing"), std::string::npos)
      << "nobody has lost his patience with it";
}

TEST(WebmClient, ThatStopsReadingHoldsOneEncoderThatWaits) {
  const House house({kLong});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kLong, "webm_remux");
  Connection paused(house.Port());
  Begin(paused, ann, stream);
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.Who().sid})), 0) << "others are served";
  EXPECT_EQ(Encoders(house).size(), 1U);
  EXPECT_GE(paused.ReadAtLeast(200'000).size(), 200'000U) << "and goes on";
}

TEST(WebmEncoder, ThatIsKilledEndsTheBodyAndTheNextRequestStartsAnother) {
  const House house({kLong});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kLong, "webm_remux");
  Connection viewer(house.Port());
  Begin(viewer, ann, stream);
  const std::vector<pid_t> encoders = Encoders(house);
  ASSERT_EQ(encoders.size(), 1U);
  kill(encoders[0], SIGKILL);
  viewer.ReadReply();  // to the end
  EXPECT_TRUE(NothingIsLeft(house));
  ExpectLiveHead(ann.Get(ann.Address(stream, {{"seek", "148"}})), "again");
}

TEST(WebmStream, ThatIsClosedWhileItPlaysEnds) {
  const House house({kLong});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kLong, "webm_remux");
  Connection viewer(house.Port());
  Begin(viewer, ann, stream);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  viewer.ReadReply();  // to the end
  EXPECT_TRUE(NothingIsLeft(house));
  EXPECT_EQ(CountStreams("WEBM"), 0U);
}

TEST(WebmFaults, AreToldWhenTheFilmIsReplacedOrVanishes) {
  const House house({kEncoded});
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kEncoded, "webm_remux");
  const fs::path film = house.Share() / kEncoded;
  const std::string address = ann.Address(stream, {});
  fs::rename(film, house.Share() / "aside");
  ExpectRefused(ann.Get(address), 404, 128, "the film is gone");
  EXPECT_EQ(ann.Get(address, {}, "HEAD").status, 404);
  fs::copy_file(house.Share() / "aside", film);
  ExpectRefused(ann.Get(address), 409, 129, "the same bytes, but another file");
  fs::remove(film);
  fs::rename(house.Share() / "aside", film);
  ExpectLiveHead(ann.Get(address), "it is back");
}

TEST(WebmJobs, AreRefusedWhereNoMoreMayBeAtWork) {
  const House house({kLong, kEncoded}, "jobs=\"1\"\n");
  const Viewer ann(house, house.SignIn("ann"));
  const ViewedStream first = ann.Open(kLong, "webm_remux");
  const ViewedStream second = ann.Open(kEncoded, "webm_remux");
  const std::string other = ann.Address(second, {});
  {
    Connection viewer(house.Port());
    Begin(viewer, ann, first);
    const Reply refused = ann.Get(other);
    ExpectRefused(refused, 503, 129, "one more");
    EXPECT_EQ(refused.Header("Retry-After"), "5");
    EXPECT_EQ(ann.Get(other, {}, "HEAD").status, 503);
    EXPECT_EQ(Encoders(house).size(), 1U);
  }
  // The kernel shows a process without its files a moment before it gives its lock back.
  Reply next;
  EXPECT_TRUE(Eventually([&] { return (next = ann.Get(other)).status != 503; }));
  ExpectLiveHead(next, "its turn");
  EXPECT_TRUE(NothingIsLeft(house));
}
