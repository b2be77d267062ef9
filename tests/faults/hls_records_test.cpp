// What lies on the disk for streams in fragments is torn, old, from the future, or forged.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include "platform/engine/job.h"
#include "platform/engine/job_folder.h"
#include "platform/system/places.h"
#include "tests/faults/cgi.h"
#include "tests/faults/long_film.h"
#include "tests/http/hls_expectations.h"

using namespace kinora::test;
namespace engine = kinora::engine;
namespace fs = std::filesystem;

namespace {

constexpr char kCopied[] = "h264_ac3.mkv";
constexpr char kEncoded[] = "black_start.mp4";
constexpr size_t kPacket = 188;  // bytes; the last one of a fragment holds nothing

void Write(const fs::path& file, const std::string& content) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

// Cut off at several lengths, and with zeros behind them; the last `least` bytes at least are missing.
std::vector<std::string> TornOf(const std::string& whole, size_t least = 1) {
  std::vector<std::string> torn;
  for (const size_t length : {size_t{0}, size_t{1}, whole.size() / 2, whole.size() - least}) {
    torn.push_back(whole.substr(0, length));
    torn.push_back(whole.substr(0, length) + std::string(whole.size() - length, '\0'));
  }
  return torn;
}

void Date(const fs::path& folder, std::chrono::hours from_now) {
  const auto time = fs::file_time_type::clock::now() + from_now;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) fs::last_write_time(entry.path(), time);
  fs::last_write_time(folder, time);
}

}  // namespace

TEST(HlsRecords, ThatAreTornAreRefusedOrMadeAnew) {
  const House house({kCopied});
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kCopied, "hls_remux");
  const std::string fragment = ann.Address(stream, {{"fragment", "1"}});
  const std::string given = ann.Get(fragment).body;
  const fs::path folder = fs::canonical(stream.Folder());

  for (const char* playlist : {"master", "video", "audio_1"}) {
    const fs::path file = folder / (std::string(playlist) + ".m3u8");
    const std::string whole = ReadWhole(file);
    for (const std::string& torn : TornOf(whole)) {
      Write(file, torn);
      ExpectRefused(ann.Get(ann.Address(stream, {{"playlist", playlist}})), 404, 128, playlist);
    }
    Write(file, whole);
    ExpectPlaylist(ann.Get(ann.Address(stream, {{"playlist", playlist}})), playlist);
  }

  const std::string plan = ReadWhole(folder / "plan.json");
  for (const std::string& torn : TornOf(plan.substr(0, plan.size() - 1))) {
    Write(folder / "plan.json", torn);
    ExpectRefused(ann.Get(fragment), 404, 128, "no plan");
  }
  Write(folder / "plan.json", plan);

  const std::string request = ReadWhole(folder / "request.json");
  for (const std::string& torn : TornOf(request)) {
    Write(folder / "request.json", torn);
    EXPECT_TRUE(ann.Get(fragment).body == given) << "it has been read when the stream was opened";
  }
  // A copy bears a mark at its end; what is encoded is on the disk before it gets its name.
  for (const std::string& torn : TornOf(given, kPacket)) {
    Write(folder / "work/1.ts", torn);
    EXPECT_TRUE(ann.Get(fragment).body == given);
  }
  Write(folder / "plan.json", "");
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0) << "it is closed in any state";
  EXPECT_FALSE(fs::exists(folder));
}

TEST(HlsRecords, OfAnEncoderThatAreTornOrForgedHarmNobody) {
  const House house({kEncoded}, kShortRunAhead);
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kEncoded, "hls");
  const Playlist playlist = ann.MediaPlaylists(stream).at(0);
  const fs::path folder = fs::canonical(stream.Folder());
  const fs::path record = folder / "work/job.json";
  ASSERT_GE(playlist.addresses.size(), 5U);
  const auto take = [&](size_t number) {
    const Reply reply = ann.Get(playlist.addresses[number]);
    ExpectFragment(reply, playlist.addresses[number]);
    ExpectOnTime(playlist, number, reply.body);
    return reply.body;
  };
  std::string first = take(0);
  const std::string whole = ReadWhole(record);
  // While the encoder is at work: the last fragments are not there yet.
  size_t last = playlist.addresses.size();
  for (const std::string& torn :
       {std::string(), whole.substr(0, whole.size() / 2), std::string(whole.size(), '\0')}) {
    Write(record, torn);
    take(--last);
    EXPECT_TRUE(take(0) == first);
    EXPECT_LE(EncodersIn(folder).size(), 1U);
  }
  EXPECT_TRUE(engine::EndJob(engine::StreamFolder::Open("HLS", stream.id).value()));
  for (const auto& entry : fs::directory_iterator(folder / "work")) {
    if (entry.path().extension() == ".ts") fs::remove(entry.path());
  }
  // Nobody is at work, and the record says that the listener is: of this boot, with the right start.
  const pid_t listener = DescendantsLike(house.Pid(), "entry.cgi").at(0);
  engine::JobRecord forged;
  forged.boot = engine::BootId();
  forged.supervisor = engine::MarkOf(listener).value();
  forged.encoder = forged.supervisor;
  forged.last = static_cast<int>(playlist.addresses.size());
  Write(record, engine::ToJsonText(forged));
  Write(folder / "work/job.lock", "left");
  for (size_t n = 0; n < playlist.addresses.size(); ++n) take(n);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_EQ(kill(listener, 0), 0) << "the listener was taken for an encoder";
  EXPECT_EQ(DescendantsLike(house.Pid(), "entry.cgi").at(0), listener);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
}

TEST(HlsRecords, OfAnyDateAreGood) {
  const House house({kCopied, kEncoded}, kShortRunAhead);
  const HlsViewer ann(house, house.SignIn("ann"));
  const std::vector<HlsStream> streams = {ann.Open(kCopied, "hls_remux"), ann.Open(kEncoded, "hls")};
  int next = 0;
  for (const std::chrono::hours years : {std::chrono::hours(87'600), std::chrono::hours(-87'600)}) {
    for (const HlsStream& stream : streams) {
      const std::string made = ann.Address(stream, {{"fragment", "0"}});
      const std::string missing = ann.Address(stream, {{"fragment", std::to_string(next)}});
      const std::string before = ann.Get(made).body;
      Date(fs::canonical(stream.Folder()), years);
      Date(kinora::system::kIndexCache, years);
      EXPECT_TRUE(ann.Get(made).body == before);
      ExpectFragment(ann.Get(missing), missing);
      EXPECT_TRUE(ann.Get(made).body == before);
    }
    ++next;
  }
  // The next one who opens sweeps: what has been watched just now stays.
  EXPECT_EQ(CodeOf(ann.TryToOpen(kCopied, {{"format", "hls_remux"}})), 0);
  EXPECT_EQ(CountStreams(), 3U);
  for (const HlsStream& stream : streams) EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
}
