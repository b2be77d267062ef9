// HLS streams from their preparation to their end, with real films and the real probe; the fragments
// themselves are tested where they are made.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "platform/engine/job.h"
#include "platform/engine/machine_state.h"
#include "platform/engine/stream_opening.h"
#include "tests/unit/platform/engine/cover.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;
using LibCrvnVTE::HttpLiveStream;
using LibCrvnVTE::VTEInitArgument;
using LibCrvnVTE::VTEStream;

constexpr char kProfiles[] = R"({"profiles": [
  {"name": "low", "uses": [{"kind": "HLS"}], "width": 640, "height": 360, "frame_rate": 30,
   "video_bitrate": 700000, "h264_profile": "main", "h264_level": "3.0", "preset": "ultrafast",
   "audio_bitrate": 96000, "audio_channels": 2},
  {"name": "copied", "uses": [{"kind": "HLS", "remux": true}], "width": 640, "height": 360, "frame_rate": 30,
   "video_bitrate": 700000, "h264_profile": "main", "h264_level": "3.0", "preset": "ultrafast",
   "audio_bitrate": 96000, "audio_channels": 2},
  {"name": "hardware", "uses": [{"kind": "VAAPI_HLS"}], "width": 640, "height": 360, "frame_rate": 30,
   "video_bitrate": 700000, "h264_profile": "main", "h264_level": "3.0", "preset": "ultrafast",
   "audio_bitrate": 96000, "audio_channels": 2}
]})";

std::string Content(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

class HlsStream : public StreamsTest {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    fs::create_directories(films_);
    WriteText(profiles_, kProfiles);
    url_["url"] = "http://host/webapi/entry.cgi";
    url_["api"] = "A.B";
  }
  void TearDown() override {
    fs::remove_all(films_);
    StreamsTest::TearDown();
  }

  // A film of its own, which may be changed.
  std::string Film(const std::string& name = "h264_aac.mp4") const {
    const std::string path = films_ + "/" + name;
    fs::copy_file(std::string(KINORA_MEDIA_DIR) + "/" + name, path, fs::copy_options::overwrite_existing);
    return path;
  }

  HttpLiveStream Prepared(const std::string& film, const std::string& profile = "low") const {
    return HttpLiveStream(VTEStream::VTE_Init(VTEInitArgument(film, "HLS", profiles_, profile)));
  }

  bool Init(HttpLiveStream& stream, const std::string& track = "", const std::string& format = "") const {
    return stream.Init(url_, Json::Value(Json::objectValue), track, format);
  }

  // An open stream.
  HttpLiveStream Opened(const std::string& film) const {
    HttpLiveStream stream = Prepared(film);
    EXPECT_TRUE(Init(stream)) << stream.GetErrorString();
    return stream;
  }

  void ExpectRefused(const std::string& film, const std::string& keyword, const std::string& profile = "low",
                     const std::string& track = "", const std::string& format = "") const {
    HttpLiveStream stream = Prepared(film, profile);
    EXPECT_FALSE(stream.GetStreamID().empty());
    EXPECT_FALSE(Init(stream, track, format));
    EXPECT_EQ(stream.GetErrorString(), keyword) << film;
    ExpectNothingLeft();
  }

  const std::string films_ = std::string(system::kVar) + "/films";
  const std::string profiles_ = films_ + "/profiles";
  Json::Value url_{Json::objectValue};
};

TEST_F(HlsStream, IsPlannedAsAWholeWhenItOpens) {
  const HttpLiveStream stream = Opened(Film());
  const std::string folder = FolderOf(stream.GetStreamID());
  EXPECT_EQ(stream.GetErrorString(), "");
  EXPECT_EQ(stream.GetMainfest("", ""), folder + "/master.m3u8");
  EXPECT_EQ(stream.GetMainfest("master", ""), folder + "/master.m3u8");
  EXPECT_EQ(stream.GetMainfest("video", "7"), folder + "/video.m3u8");
  for (const char* none : {"audio_1", "audio_0", "subtitle", "../request.json", "plan.json", "Video"}) {
    EXPECT_EQ(stream.GetMainfest(none, ""), "") << none;
  }
  EXPECT_TRUE(fs::is_directory(folder + "/work"));
  const auto plan = ReadPlan(StreamFolder::Open("HLS", stream.GetStreamID()).value());
  ASSERT_TRUE(plan);
  EXPECT_EQ(plan->picture.width, 640);
  EXPECT_EQ(plan->picture.height, 360);
  EXPECT_EQ(plan->source.video.codec, "h264");
  EXPECT_EQ(Content(stream.GetMainfest("video", "")).find("#EXTM3U\n"), 0U);
  EXPECT_NE(
      Content(stream.GetMainfest("", "")).find("?api=A.B&id=" + stream.GetStreamID() + "&playlist=video\n"),
      std::string::npos);
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
}

TEST_F(HlsStream, OffersEachTrackWhereThereAreSeveral) {
  const HttpLiveStream stream = Opened(Film("languages.mkv"));
  EXPECT_NE(stream.GetMainfest("audio_1", ""), "");
  EXPECT_NE(stream.GetMainfest("audio_2", ""), "");
  EXPECT_EQ(stream.GetMainfest("audio_3", ""), "");
  const std::string master = Content(stream.GetMainfest("", ""));
  EXPECT_NE(master.find("NAME=\"Original\",LANGUAGE=\"en\",DEFAULT=YES"), std::string::npos) << master;
  EXPECT_NE(master.find("NAME=\"Deutsch\",LANGUAGE=\"de\",DEFAULT=NO"), std::string::npos) << master;
}

TEST_F(HlsStream, IsKnownToEveryObjectOfItsName) {
  const HttpLiveStream stream = Opened(Film());
  const HttpLiveStream other(stream.GetStreamID());
  EXPECT_EQ(other.GetMainfest("", ""), stream.GetMainfest("", ""));
  const HttpLiveStream copy = other;
  EXPECT_TRUE(copy.Close());
  EXPECT_EQ(stream.GetMainfest("", ""), "");
}

TEST_F(HlsStream, IsRefusedWhenTranscodingIsSwitchedOff) {
  WriteText(system::kSettingsFile, "transcoding=\"no\"\n");
  ExpectRefused(Film(), "TransEnable");
}

TEST_F(HlsStream, IsRefusedWhileAnOfflineConversionHasTheMachine) {
  fs::create_directories(system::kRunFolder);
  const std::string lock = std::string(system::kRunFolder) + "/" + kOfflineConversionLock;
  base::Descriptor holder(::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(::flock(holder.Get(), LOCK_EX), 0);
  ExpectRefused(Film(), "TransEnableOfflineConverting");
  holder.Reset();
  EXPECT_TRUE(Opened(Film()).Close());
  fs::remove(lock);
}

TEST_F(HlsStream, IsRefusedWhenAllStreamsHaveTheirShareOfTheDisk) {
  const HttpLiveStream other = Opened(Film());
  HttpLiveStream stream = Prepared(Film());
  WriteText(WorkFolderOf(other.GetStreamID()) + "/0.ts", std::string(2 << 20, 'x'));
  WriteText(system::kSettingsFile, "streams_quota=\"1M\"\n");
  EXPECT_FALSE(Init(stream));
  EXPECT_EQ(stream.GetErrorString(), "TransSapceNotEnough");
  EXPECT_FALSE(IsThere(LinkOf(stream.GetStreamID())));
  EXPECT_TRUE(other.Close());
}

TEST_F(HlsStream, IsRefusedWhenTheVolumeFillsMeanwhile) {
  HttpLiveStream stream = Prepared(Film());
  WriteText(system::kSettingsFile, "free_space_floor=\"8000000T\"\n");
  EXPECT_FALSE(Init(stream));
  EXPECT_EQ(stream.GetErrorString(), "TransSapceNotEnough");
  ExpectNothingLeft();
}

TEST_F(HlsStream, IsRefusedForATrackThatIsNotThere) {
  ExpectRefused(Film(), "TransAudioNotSupported", "low", "7");
  ExpectRefused(Film(), "TransAudioNotSupported", "low", "0");
  ExpectRefused(Film("silent.mp4"), "TransAudioNotSupported", "low", "1");
  ExpectRefused(Film(), "TransAudioNotSupported", "low", "", "opus");
}

TEST_F(HlsStream, IsRefusedForWhatIsNoFilm) {
  const std::string text = films_ + "/text.mp4";
  WriteText(text, "no film");
  ExpectRefused(text, "TransVideoNotSupported");
  ExpectRefused(Film("cover_frame.jpg"), "TransVideoNotSupported");
}

TEST_F(HlsStream, IsRefusedForAPictureBeyondWhatAMachineDecodesInTime) {
  ExpectRefused(Film("gigantic.avi"), "TransVideoOutOfResolutionCapability");
  ExpectRefused(Film("hasty.mp4"), "TransVideoOutOfFramerateCapability");
}

TEST_F(HlsStream, IsRefusedForAProfileThatNoDecoderTakes) {
  const std::string film = Film();
  std::string bytes = Content(film);
  // "Baseline" becomes "Extended", in the file's header and in the parameters of the video.
  const size_t header = bytes.find("avcC");
  ASSERT_EQ(bytes.compare(header, 8, std::string("avcC\x01\x42\xC0\x1F", 8)), 0);
  bytes[header + 5] = 0x58;
  for (size_t at = 0; (at = bytes.find("\x67\x42\xC0\x1F", at)) != std::string::npos;) bytes[at + 1] = 0x58;
  WriteText(film, bytes);
  ExpectRefused(film, "TransVideoOutOfProfileCapability");
}

TEST_F(HlsStream, IsRefusedForWantOfMemory) {
  const std::string little = films_ + "/meminfo";
  WriteText(little, "MemTotal: 200000 kB\nMemAvailable: 50000 kB\n");
  {
    const Cover cover(little, "/proc/meminfo");
    if (!cover) GTEST_SKIP() << "nothing can be mounted here";
    ExpectRefused(Film(), "NeedToChangeMemoryLayout");
  }
  EXPECT_TRUE(Opened(Film()).Close());
}

TEST_F(HlsStream, IsRefusedWithoutTheHardwareThatTheProfileIsFor) {
  ExpectRefused(Film(), "TransVideoNotHardwareSupported", "hardware");
}

TEST_F(HlsStream, IsRefusedWithoutAWordForWhatIsNobodysWish) {
  ExpectRefused(films_ + "/missing.mp4", "");
  ExpectRefused(films_, "");
  ExpectRefused(Film(), "", "no such profile");
  url_ = "http://host";
  ExpectRefused(Film(), "");
}

TEST_F(HlsStream, IsRefusedWhenItsRecordIsTorn) {
  HttpLiveStream stream = Prepared(Film());
  WriteText(FolderOf(stream.GetStreamID()) + "/request.json", "{\"version\":1");
  EXPECT_FALSE(Init(stream));
  EXPECT_EQ(stream.GetErrorString(), "");
  ExpectNothingLeft();
}

TEST_F(HlsStream, MakesItsFragmentsWithOneEncoder) {
  const HttpLiveStream stream = Opened(Film());
  std::array<bool, 4> made{};
  std::vector<std::thread> viewers;
  for (bool& one : made) viewers.emplace_back([&] { one = HttpLiveStream(stream).Transcoding("1"); });
  for (std::thread& viewer : viewers) viewer.join();
  for (const bool one : made) EXPECT_TRUE(one);
  EXPECT_LE(CountJobs(), 1);
  const std::string bytes = Content(stream.GetFragmentPath("1"));
  EXPECT_EQ(bytes.size() % 188, 0U);
  EXPECT_EQ(bytes.substr(0, 1), "G");  // a transport stream's packet
  EXPECT_TRUE(stream.Close());
  EXPECT_EQ(CountJobs(), 0);
  ExpectNothingLeft();
}

TEST_F(HlsStream, GoesOnWhereTheTimesOfAFilmJump) {
  for (const char* name : {"jumps_ahead.ts", "jumps_back.ts"}) {
    const std::string film = Film(name);
    ExpectRefused(film, "TransVideoNotSupported", "copied");
    const HttpLiveStream stream = Opened(film);
    const auto plan = ReadPlan(StreamFolder::Open("HLS", stream.GetStreamID()).value());
    ASSERT_TRUE(plan);
    // Before the jump, where it is, and at the end.
    for (const int number : {0, 2, plan->grid.Count() - 1}) {
      EXPECT_TRUE(HttpLiveStream(stream).Transcoding(std::to_string(number))) << name << " " << number;
    }
    EXPECT_TRUE(stream.Close());
    ExpectNothingLeft();
  }
}

TEST_F(HlsStream, IsRefusedForAFilmThatDoesNotSayHowLongItIs) {
  for (const char* profile : {"low", "copied"})
    ExpectRefused(Film("no_length.mkv"), "TransVideoNotSupported", profile);
}

TEST_F(HlsStream, MakesTheFragmentsOfEachTrack) {
  const HttpLiveStream stream = Opened(Film("languages.mkv"));
  for (const char* id : {"a1_0", "a2_1", "0"}) {
    EXPECT_TRUE(stream.Transcoding(id)) << id;
    EXPECT_EQ(Content(stream.GetFragmentPath(id)).substr(0, 1), "G") << id;
  }
  EXPECT_FALSE(stream.Transcoding("a3_0"));
  EXPECT_TRUE(stream.Close());
}

TEST_F(HlsStream, EncodesTheSoundOfALargeFilmWithoutAnIndexUntilThatIsMade) {
  const std::string film = Film("fragmented_ac3.mp4");
  // Behind the film comes a box of nothing, which takes no place on the disk.
  std::ofstream(film, std::ios::binary | std::ios::app) << std::string("\x20\0\0\0free", 8);
  fs::resize_file(film, fs::file_size(film) - 8 + 0x20000000);
  const auto sound_of = [&](const HttpLiveStream& stream) {
    return ReadPlan(StreamFolder::Open("HLS", stream.GetStreamID()).value())->audio.at(0);
  };
  HttpLiveStream early = Prepared(film);
  ASSERT_TRUE(Init(early, "", "ac3_copy")) << early.GetErrorString();
  EXPECT_EQ(sound_of(early).codec, "aac");
  EXPECT_TRUE(early.Transcoding("0"));
  EXPECT_TRUE(early.Close());

  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  for (std::string codec; codec != "ac3";) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the film is not scanned";
    HttpLiveStream later = Prepared(film);
    ASSERT_TRUE(Init(later, "", "ac3_copy")) << later.GetErrorString();
    codec = sound_of(later).codec;
    EXPECT_TRUE(codec != "ac3" || later.Transcoding("a1_0"));
    EXPECT_TRUE(later.Close());
  }
}

TEST_F(HlsStream, HasNoOtherFragmentsThanThoseOfItsPlan) {
  const HttpLiveStream stream = Opened(Film());
  for (const char* id : {"", "-1", "999999", "1000000", "a1_0", "a0_0", "00", "../0", "0.ts", "0\n"}) {
    EXPECT_FALSE(stream.Transcoding(id)) << id;
    EXPECT_EQ(stream.GetFragmentPath(id), "") << id;
  }
}

TEST_F(HlsStream, HasNoFragmentsWhenTheFilmIsAnotherOne) {
  const std::string film = Film();
  const HttpLiveStream stream = Opened(film);
  fs::rename(film, film + ".moved");
  EXPECT_FALSE(stream.Transcoding("0"));
  Film();  // the same bytes, another file
  EXPECT_FALSE(stream.Transcoding("0"));
}

TEST_F(HlsStream, HasNoFragmentsWhenItsPlanIsTornOrForeign) {
  const HttpLiveStream stream = Opened(Film());
  const std::string plan = FolderOf(stream.GetStreamID()) + "/plan.json";
  const std::string whole = Content(plan);
  for (size_t length = 0; length + 1 < whole.size(); length += 97) {
    WriteText(plan, whole.substr(0, length));
    EXPECT_FALSE(stream.Transcoding("0")) << length;
  }
  for (const std::string& other : {std::string("{\"version\":99}"), std::string(whole.size(), '\0')}) {
    WriteText(plan, other);
    EXPECT_FALSE(stream.Transcoding("0"));
  }
  fs::remove(plan);
  fs::create_symlink("/etc/passwd", plan);
  EXPECT_FALSE(stream.Transcoding("0"));
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
}

TEST_F(HlsStream, HasNoFragmentsWhenItsWorkFolderIsElsewhere) {
  const HttpLiveStream stream = Opened(Film());
  const std::string work = FolderOf(stream.GetStreamID()) + "/work";
  const std::string foreign = films_ + "/foreign";
  fs::create_directory(foreign);
  WriteText(foreign + "/0.ts", "somebody's own");
  fs::remove(work);
  fs::create_symlink(foreign, work);
  EXPECT_FALSE(stream.Transcoding("0"));
  EXPECT_FALSE(stream.Transcoding("1"));
  EXPECT_EQ(stream.GetFragmentPath("0"), "");
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
  EXPECT_EQ(Content(foreign + "/0.ts"), "somebody's own");
  EXPECT_EQ(std::distance(fs::directory_iterator(foreign), fs::directory_iterator()), 1);
}

TEST_F(HlsStream, GivesPlainFilesAlone) {
  const HttpLiveStream stream = Opened(Film());
  const std::string work = WorkFolderOf(stream.GetStreamID()) + "/";
  EXPECT_EQ(stream.GetFragmentPath("0"), "");
  WriteText(work + "0.ts", "bytes");
  EXPECT_EQ(stream.GetFragmentPath("0"), work + "0.ts");
  fs::create_symlink("/etc/passwd", work + "1.ts");
  fs::create_directory(work + "2.ts");
  EXPECT_EQ(stream.GetFragmentPath("1"), "");
  EXPECT_EQ(stream.GetFragmentPath("2"), "");
}

TEST_F(HlsStream, IsNothingUnderOtherNames) {
  for (const char* id : {"", ".", "..", "../HLS", "abc", "abcdefghijklmnopqrstuvwxyz234567"}) {
    HttpLiveStream stream(id);
    EXPECT_FALSE(stream.Transcoding("0")) << id;
    EXPECT_EQ(stream.GetFragmentPath("0"), "") << id;
    EXPECT_EQ(stream.GetMainfest("", ""), "") << id;
    EXPECT_FALSE(Init(stream)) << id;
    EXPECT_TRUE(stream.Close()) << id;
  }
}

TEST_F(HlsStream, IsClosedInAnyState) {
  const HttpLiveStream prepared = Prepared(Film());
  EXPECT_TRUE(prepared.Close());
  EXPECT_TRUE(prepared.Close());
  const HttpLiveStream dangling = Opened(Film());
  fs::remove_all(FolderOf(dangling.GetStreamID()));
  EXPECT_TRUE(dangling.Close());
  ExpectNothingLeft();
}

TEST_F(HlsStream, IsClosedByTwoAtOnce) {
  const HttpLiveStream stream = Opened(Film());
  const HttpLiveStream other = stream;
  bool closed = false;
  std::thread second([&] { closed = other.Close(); });
  EXPECT_TRUE(stream.Close());
  second.join();
  EXPECT_TRUE(closed);
  ExpectNothingLeft();
}

}  // namespace
}  // namespace kinora::engine
