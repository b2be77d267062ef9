// Ways to watch by Smooth Streaming: slowly, with pauses, back and forth, from the middle, and with many at
// once. What the viewer gets, what is at work for him, and what lies on the disk for him meanwhile.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/faults/long_film.h"
#include "tests/http/smooth_expectations.h"
#include "tests/http/watching.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kBulky[] = "bulky.mkv";  // 150 seconds

// Somebody with an open film.
class Watching {
 public:
  explicit Watching(const std::string& settings) : house_({kBulky}, settings) {}

  Reply Take(size_t track, size_t number) const {
    return ExpectChunkOf(ann_, stream_, tracks_.at(track), number);
  }
  void TakeAll(size_t number) const {
    for (size_t track = 0; track < tracks_.size(); ++track) Take(track, number);
  }
  size_t Chunks() const { return tracks_.at(0).starts.size(); }
  const fs::path& Folder() const { return folder_; }
  const SmoothViewer& Ann() const { return ann_; }
  const ViewedStream& Stream() const { return stream_; }
  std::string Log() const { return house_.Log(); }

 private:
  House house_;
  SmoothViewer ann_{house_, house_.SignIn("ann")};
  ViewedStream stream_ = ann_.Open(kBulky, "ss");
  std::vector<SmoothTrack> tracks_ = ann_.Tracks(stream_);
  fs::path folder_ = fs::canonical(stream_.Folder());
};

// Bytes of the fragments and chunks that the stream keeps. What is just being written comes to them later.
uint64_t Kept(const fs::path& folder) {
  uint64_t bytes = 0;
  std::error_code gone;
  for (fs::directory_iterator entry(folder / "work", gone), end; !gone && entry != end;
       entry.increment(gone)) {
    const fs::path extension = entry->path().extension();
    if (extension != ".ts" && extension != ".m4s") continue;
    std::error_code dropped;
    const uintmax_t size = fs::file_size(entry->path(), dropped);
    if (!dropped) bytes += size;
  }
  return bytes;
}

std::vector<Reply> AtOnce(size_t count, const std::function<Reply(size_t)>& request) {
  std::vector<Reply> replies(count);
  std::vector<std::thread> requests;
  for (size_t i = 0; i < count; ++i) requests.emplace_back([&, i] { replies[i] = request(i); });
  for (std::thread& one : requests) one.join();
  return replies;
}

}  // namespace

TEST(SmoothViewerWhoSeeks, GetsOneClockBackAndForth) {
  const Watching watching(kShortRunAhead);
  for (const size_t number : {0, 1, 20, 21, 2, 3, 10, 11, 1, 12}) watching.TakeAll(number);
  watching.TakeAll(watching.Chunks() - 1);
}

TEST(SmoothStreamWithAQuota, KeepsToItWhileMoreThanThatIsPlayed) {
  constexpr uint64_t kQuota = 1U << 20;
  const Watching watching("stream_quota=\"1M\"\n");
  uint64_t most = 0;
  uint64_t all = 0;
  {
    const Watch watch([&] { most = std::max(most, Kept(watching.Folder())); });
    for (size_t n = 0; n < 16; ++n) {
      for (const size_t track : {0, 1}) all += watching.Take(track, n).body.size();
    }
  }
  EXPECT_GT(2 * all, kQuota * 3 / 2) << "the test says nothing when two copies of it fit";
  RecordProperty("most", std::to_string(most));
  EXPECT_LE(most, kQuota);
  EXPECT_GT(most, kQuota / 4) << "it is looked at while there is something";
}

// The encoder is as far ahead as it may be whenever the viewer asks.
TEST(SmoothViewerWhoIsSlow, GetsEveryChunkFromOneEncoder) {
  const Watching watching(std::string(kShortRunAhead) + "stream_quota=\"1M\"\n");
  std::set<pid_t> encoders;
  for (size_t n = 0; n < 25; ++n) {
    watching.Take(0, n);
    for (const pid_t encoder : EncodersIn(watching.Folder())) encoders.insert(encoder);
    EXPECT_TRUE(Eventually([&] {
      const std::vector<pid_t> now = EncodersIn(watching.Folder());
      return now.empty() || StateOf(now.front()) == 'T';
    })) << n;
  }
  EXPECT_EQ(encoders.size(), 1U) << "nothing is encoded twice";
}

TEST(SmoothViewerWhoPauses, HoldsNoEncoderAndGoesOnInTheSameStream) {
  const Watching watching(std::string(kShortRunAhead) + "idle_seconds=\"2\"\n");
  watching.TakeAll(0);
  EXPECT_TRUE(Eventually([&] {
    EXPECT_EQ(watching.Ann().Get(watching.Ann().Path(watching.Stream(), "Manifest")).status, 200);
    return EncodersIn(watching.Folder()).empty();
  })) << "nobody wants more, and the encoder stays";
  for (size_t n = 1; n < watching.Chunks(); n += 4) watching.TakeAll(n);
}

// Players look at the first chunk before they jump to where the film was left.
TEST(SmoothViewerWhoResumes, HasOneEncoderAtATime) {
  const Watching watching(kShortRunAhead);
  const size_t middle = watching.Chunks() / 2;
  size_t most = 0;
  {
    const Watch watch([&] { most = std::max(most, EncodersIn(watching.Folder()).size()); });
    std::thread probe([&] { watching.Take(0, 0); });
    watching.Take(0, middle);
    probe.join();
    watching.Take(0, middle + 1);
  }
  EXPECT_EQ(most, 1U);
}

TEST(SmoothCrowd, OfRequestsForOneChunkHasOneEncoder) {
  const Watching watching(kShortRunAhead);
  std::set<pid_t> encoders;
  std::vector<Reply> replies;
  {
    const Watch watch([&] {
      for (const pid_t encoder : EncodersIn(watching.Folder())) encoders.insert(encoder);
    });
    replies = AtOnce(20, [&](size_t) { return watching.Take(0, 0); });
  }
  for (const pid_t encoder : EncodersIn(watching.Folder())) encoders.insert(encoder);
  for (const Reply& reply : replies) EXPECT_TRUE(reply.body == replies[0].body);
  EXPECT_EQ(encoders.size(), 1U) << watching.Log();
}

TEST(SmoothCrowd, OfOpensIsAnsweredClearly) {
  constexpr char kFilm[] = "h264_aac.mp4";
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const Parameters parameters = {{"id", std::to_string(house.FilmId(ann.Who(), kFilm))}, {"format", "ss"}};
  const std::vector<Reply> replies = AtOnce(IsLong() ? 200 : 16, [&](size_t) {
    return house.Send({"Stream", "open", parameters, "POST", ann.Who().sid, ann.Who().token});
  });
  std::set<std::string> streams;
  for (const Reply& reply : replies) {
    if (reply.status == 200) {
      streams.insert(ParseJson(reply.body)["result"]["stream_id"].asString());
    } else {
      // On a machine that is too slow for all of them some films cannot be looked at in time.
      EXPECT_EQ(reply.status, 503) << reply.body;
    }
  }
  EXPECT_FALSE(streams.empty());
  EXPECT_EQ(CountStreams("SS"), streams.size())
      << "each has its own, and nothing is left of what was refused";
  for (const std::string& stream : streams) EXPECT_EQ(CodeOf(ann.Close({stream, "ss"})), 0);
  EXPECT_EQ(CountStreams("SS"), 0U);
}
