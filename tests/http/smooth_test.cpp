// Films by Smooth Streaming, from opening to closing, and while something breaks, vanishes or comes all at
// once.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>

#include "platform/engine/job_folder.h"
#include "tests/http/smooth_expectations.h"

using namespace kinora::engine;
using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kFilm[] = "mpeg2_mp2.mpg";       // six seconds
constexpr char kLong[] = "black_start.mp4";     // twenty seconds
constexpr char kLanguages[] = "languages.mkv";  // with two audio tracks
// The least of run-ahead: the long film's encoder waits for its viewer before it is through.
constexpr char kShortRunAhead[] = "run_ahead_seconds=\"10\"\n";

std::vector<std::string> ChunksOf(const SmoothTrack& track) {
  std::vector<std::string> chunks;
  for (const int64_t start : track.starts) chunks.push_back(track.ChunkAt(start));
  return chunks;
}

}  // namespace

TEST(SmoothFilm, IsOpenedFetchedAndClosed) {
  const House house({kFilm, kLanguages});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const std::pair<const char*, size_t> films[] = {{kFilm, 2}, {kLanguages, 3}};
  for (const auto& [film, count] : films) {
    const ViewedStream stream = ann.Open(film, "ss");
    EXPECT_EQ(stream.format, "ss");
    ExpectManifest(ann.Get(ann.Path(stream, "Manifest")), film);
    const std::vector<SmoothTrack> tracks = ann.Tracks(stream);
    EXPECT_EQ(tracks.size(), count) << film;
    for (const SmoothTrack& track : tracks) {
      EXPECT_FALSE(track.starts.empty()) << track.name;
      for (const std::string& chunk : ChunksOf(track)) ExpectChunk(ann.Get(ann.Path(stream, chunk)), chunk);
    }
    const fs::path folder = fs::canonical(stream.Folder());
    EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
    EXPECT_FALSE(fs::is_symlink(stream.Folder()) || fs::exists(folder));
    EXPECT_TRUE(Eventually([&] { return EncodersIn(folder).empty(); }));
    EXPECT_EQ(CodeOf(ann.Get(ann.Path(stream, "Manifest"))), 128);
  }
}

TEST(SmoothFilm, IsTheSameByEveryFormOfItsAddress) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const Reply manifest = ann.Get(ann.Path(stream, "Manifest"));
  ExpectManifest(manifest, "by path");
  EXPECT_EQ(ann.Get(ann.Address(stream, {})).body, manifest.body);
  const std::string chunk = ann.Tracks(stream).at(0).ChunkAt(0);
  EXPECT_EQ(chunk, "QualityLevels(1500000)/Fragments(video=0)");
  const Reply by_path = ann.Get(ann.Path(stream, chunk));
  ExpectChunk(by_path, "by path");
  for (const char* encoded : {"QualityLevels%281500000%29/Fragments%28video%3d0%29",
                              "%51ualityLevels(1500000)/Fragments(video%3D0)"}) {
    const Reply reply = ann.Get(ann.Path(stream, encoded));
    ExpectChunk(reply, encoded);
    EXPECT_TRUE(reply.body == by_path.body) << encoded;
  }
  const Reply by_query = ann.Get(ann.Address(stream, {{"fragment", chunk}}));
  ExpectChunk(by_query, "by query");
  EXPECT_TRUE(by_query.body == by_path.body);
}

TEST(SmoothFilm, GivesPartsOfAChunkAndItsSize) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const std::string address = ann.Path(stream, ann.Tracks(stream).at(0).ChunkAt(0));
  const Reply chunk = ann.Get(address);
  ExpectChunk(chunk, address);
  for (const std::string& target : {address, ann.Path(stream, "Manifest")}) {
    const Reply whole = ann.Get(target);
    const Reply head = ann.Get(target, {}, "HEAD");
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.Header("Content-Length"), std::to_string(whole.body.size()));
    EXPECT_EQ(head.body, "");
  }
  const Reply part = ann.Get(address, {"Range: bytes=4-7"});
  EXPECT_EQ(part.status, 206);
  EXPECT_EQ(part.body, "moof");
}

TEST(SmoothFilm, IsOpenedForThoseOnlyWhoAskForIt) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  EXPECT_EQ(ann.Open(kFilm, "auto").format, "hls");
  EXPECT_EQ(ann.Open(kFilm, "ss,raw").format, "ss");
  EXPECT_EQ(ann.Open(kFilm, "raw,ss,hls").format, "hls");
}

TEST(SmoothStreams, AreMarkedWhenTheyAreOpenedAndSweptWhenTheirMarkIsOld) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stale = ann.Open(kFilm, "ss");
  const ViewedStream fresh = ann.Open(kFilm, "ss");
  EXPECT_EQ(CountStreams("SS"), 2U);
  for (const ViewedStream& stream : {stale, fresh}) {
    EXPECT_EQ(ReadWhole(stream.Folder() / "access_status"), "touch")
        << "before anybody has asked for anything";
  }
  fs::last_write_time(stale.Folder() / "access_status",
                      fs::file_time_type::clock::now() - std::chrono::seconds(90));
  const fs::path folder = fs::canonical(stale.Folder());
  const ViewedStream next = ann.Open(kFilm, "ss");
  EXPECT_FALSE(fs::is_symlink(stale.Folder()) || fs::exists(folder));
  EXPECT_TRUE(Eventually([&] { return EncodersIn(folder).empty(); }));
  EXPECT_EQ(CountStreams("SS"), 2U);
  EXPECT_EQ(CodeOf(ann.Get(ann.Path(stale, "Manifest"))), 128);
  ExpectManifest(ann.Get(ann.Path(fresh, "Manifest")), "of one in use");
}

TEST(SmoothFaults, AreToldWhenTheFilmIsReplacedOrVanishes) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const fs::path film = house.Share() / kFilm;
  const fs::path folder = fs::canonical(stream.Folder());
  for (const SmoothTrack& track : ann.Tracks(stream)) {
    const std::string chunk = ann.Path(stream, track.ChunkAt(0));
    ExpectChunk(ann.Get(chunk), "before");
    fs::rename(film, house.Share() / "aside");
    ExpectRefused(ann.Get(chunk), 404, 128, "the film is gone");
    fs::copy_file(house.Share() / "aside", film);
    ExpectRefused(ann.Get(chunk), 409, 129, "the same bytes, but another file");
    fs::remove(film);
    fs::rename(house.Share() / "aside", film);
    ExpectChunk(ann.Get(chunk), "it is back");
  }
  fs::remove(film);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_EQ(CountStreams("SS"), 0U);
  EXPECT_TRUE(Eventually([&] { return EncodersIn(folder).empty(); }));
}

TEST(SmoothFaults, DoNotStopAStreamWhoseServiceIsRestartedOrWhoseListenerIsKilled) {
  House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const std::vector<SmoothTrack> tracks = ann.Tracks(stream);
  const std::string first = ann.Path(stream, tracks.at(0).ChunkAt(0));
  const Reply before = ann.Get(first);
  ExpectChunk(before, "before");
  const auto listeners = [&] { return DescendantsLike(house.Pid(), "entry.cgi"); };
  const pid_t listener = listeners().at(0);
  kill(listener, SIGKILL);
  ASSERT_TRUE(Eventually([&] {
    const std::vector<pid_t> now = listeners();
    return !now.empty() && now[0] != listener;
  }));
  ExpectChunk(ann.Get(first), "after the listener's end");
  house.Restart();
  const Reply again = ann.Get(ann.Path(stream, tracks.at(0).ChunkAt(0)));
  ExpectChunk(again, "the same again");
  EXPECT_TRUE(again.body == before.body);
  for (const SmoothTrack& track : tracks) {
    const std::string last = track.ChunkAt(track.starts.back());
    ExpectChunk(ann.Get(ann.Path(stream, last)), last);
  }
}

TEST(SmoothClient, WhoDropsARequestOrWhoseRequestDiesLeavesNoProcessAndNoSessionInTheLog) {
  const House house({kLong}, kShortRunAhead);
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kLong, "ss");
  const std::vector<std::string> film = ChunksOf(ann.Tracks(stream).at(0));
  ExpectChunk(ann.Get(ann.Path(stream, film[0])), "the first one");
  // Whoever publishes what the encoder makes is held: the fragment after the newest stays on its way.
  const std::optional<StreamFolder> folder = StreamFolder::Open("SS", stream.id);
  ASSERT_TRUE(folder);
  const std::optional<JobRecord> job = ReadJobRecord(*folder);
  ASSERT_TRUE(job && SignalSupervisor(*job, SIGSTOP));
  const size_t next = static_cast<size_t>(PresentFragments(*folder).back()) + 1;
  ASSERT_LT(next, film.size());
  const auto requests = [&] { return Descendants(DescendantsLike(house.Pid(), "entry.cgi").at(0)); };
  for (const bool dies : {false, true}) {
    Connection player(house.Port());
    player.Send("GET " + ann.Path(stream, film[next]) +
                " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    ASSERT_TRUE(Eventually([&] { return IsJobWaitedFor(*folder); })) << house.Log();
    if (dies) {
      kill(requests().at(0), SIGKILL);
      EXPECT_EQ(player.ReadReply().status, 500);
    } else {
      player.Finish();
    }
    EXPECT_TRUE(Eventually([&] { return requests().empty(); }));
    EXPECT_TRUE(Eventually([&] { return !IsJobWaitedFor(*folder); })) << "nobody waits any more";
  }
  SignalSupervisor(*job, SIGCONT);
  ExpectChunk(ann.Get(ann.Path(stream, film.back())), "the one that was sought");
  EXPECT_EQ(house.Log().find(ann.Who().sid), std::string::npos) << house.Log();
}

TEST(SmoothJobs, AreRefusedWhereNoMoreMayBeAtWork) {
  const House house({kLong, kFilm}, std::string("jobs=\"1\"\n") + kShortRunAhead);
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream first = ann.Open(kLong, "ss");
  const std::vector<std::string> film = ChunksOf(ann.Tracks(first).at(0));
  // Opening asks for the first chunk already. A viewer who has not asked for long gives his encoder away: on
  // a machine that was too slow for that, once more.
  std::string other;
  Reply refused;
  for (int round = 0; round < 5; ++round) {
    const Clock::time_point asked = Clock::now();
    ExpectChunk(ann.Get(ann.Path(first, film[0])), "the first film");
    ASSERT_EQ(EncodersIn(fs::canonical(first.Folder())).size(), 1U);
    const ViewedStream second = ann.Open(kFilm, "ss");
    other = ann.Path(second, ann.Tracks(second).at(0).ChunkAt(0));
    refused = ann.Get(other);
    if (Clock::now() - asked < std::chrono::seconds(10)) break;
    EXPECT_EQ(CodeOf(ann.Close(second)), 0);
  }
  ExpectRefused(refused, 503, 129, "one more");
  EXPECT_EQ(refused.Header("Retry-After"), "5");
  for (const std::string& chunk : film) ExpectChunk(ann.Get(ann.Path(first, chunk)), chunk);
  EXPECT_EQ(CodeOf(ann.Close(first)), 0);
  ExpectChunk(ann.Get(other), "its turn");
}
