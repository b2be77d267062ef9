// Smooth Streaming from a stream's preparation to its end, with real films and the real helpers: every chunk
// that the manifest promises is there, as promised.
#include "contract/engine/smooth_stream.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>
#include <vector>

#include "platform/engine/job.h"
#include "platform/engine/stream_listing.h"
#include "platform/engine/stream_opening.h"
#include "tests/unit/platform/engine/cover.h"
#include "tests/unit/platform/engine/smooth_chunks.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;
using LibCrvnVTE::HttpLiveStream;
using LibCrvnVTE::SmoothStream;
using LibCrvnVTE::VTEInitArgument;
using LibCrvnVTE::VTEStream;
using testing::HasSubstr;
using testing::Not;

constexpr char kProfiles[] = R"({"profiles": [
  {"name": "smooth", "uses": [{"kind": "SS"}], "width": 320, "height": 180, "frame_rate": 30,
   "video_bitrate": 1500000, "h264_profile": "high", "h264_level": "3.1", "preset": "ultrafast",
   "audio_bitrate": 128000, "audio_channels": 2},
  {"name": "hls", "uses": [{"kind": "HLS"}], "width": 320, "height": 180, "frame_rate": 30,
   "video_bitrate": 700000, "h264_profile": "main", "h264_level": "3.0", "preset": "ultrafast",
   "audio_bitrate": 96000, "audio_channels": 2}
]})";

constexpr char kFirstPicture[] = "QualityLevels(1500000)/Fragments(video=0)";

std::string Content(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// A chunk as a manifest promises it.
struct Promise {
  std::string address;
  uint64_t start = 0;
  uint64_t duration = 0;
};

// Read as a player reads it: the address is made of its template, the level's rate, and the chunk's start.
std::vector<Promise> PromisesOf(const std::string& manifest) {
  static const std::regex track("<StreamIndex [^>]*Url=\"([^\"]*)\"[^>]*>([\\s\\S]*?)</StreamIndex>");
  static const std::regex level("<QualityLevel [^>]*Bitrate=\"(\\d+)\"");
  static const std::regex chunk("<c t=\"(\\d+)\" d=\"(\\d+)\"/>");
  std::vector<Promise> promises;
  for (std::sregex_iterator one(manifest.begin(), manifest.end(), track), end; one != end; ++one) {
    const std::string body = (*one)[2];
    std::smatch rate;
    EXPECT_TRUE(std::regex_search(body, rate, level));
    for (std::sregex_iterator c(body.begin(), body.end(), chunk); c != end; ++c) {
      std::string address = std::regex_replace((*one)[1].str(), std::regex("\\{bitrate\\}"), rate[1].str());
      address = std::regex_replace(address, std::regex("\\{start time\\}"), (*c)[1].str());
      promises.push_back({address, std::stoull((*c)[1]), std::stoull((*c)[2])});
    }
  }
  return promises;
}

class SmoothStreamTest : public StreamsTest {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    fs::create_directories(films_);
    WriteText(profiles_, kProfiles);
  }
  void TearDown() override {
    fs::remove_all(films_);
    StreamsTest::TearDown();
  }

  static std::string Media(const std::string& name) { return std::string(KINORA_MEDIA_DIR) + "/" + name; }

  // A film of its own, which may be changed.
  std::string Film(const std::string& name) const {
    fs::copy_file(Media(name), films_ + "/" + name, fs::copy_options::overwrite_existing);
    return films_ + "/" + name;
  }

  SmoothStream Prepared(const std::string& film, const std::string& profile = "smooth") const {
    return SmoothStream(VTEStream::VTE_Init(VTEInitArgument(film, "SS", profiles_, profile)));
  }

  static bool Init(SmoothStream& stream, const std::string& track = "", const std::string& format = "") {
    return stream.Init(Json::Value(Json::objectValue), Json::Value(), track, format);
  }

  SmoothStream Opened(const std::string& film, const std::string& track = "") const {
    SmoothStream stream = Prepared(film);
    EXPECT_TRUE(Init(stream, track)) << stream.GetErrorString();
    return stream;
  }

  void ExpectRefused(const std::string& film, const std::string& keyword,
                     const std::string& profile = "smooth", const std::string& track = "",
                     const std::string& format = "") const {
    SmoothStream stream = Prepared(film, profile);
    EXPECT_FALSE(stream.GetStreamID().empty());
    EXPECT_FALSE(Init(stream, track, format));
    EXPECT_EQ(stream.GetErrorString(), keyword) << film;
    ExpectNothingLeft();
  }

  // Every chunk of the manifest is made and is what the manifest says.
  static void ExpectPromisesKept(const SmoothStream& stream) {
    const std::vector<Promise> promises = PromisesOf(Content(stream.GetMainfest()));
    EXPECT_FALSE(promises.empty());
    for (const Promise& promise : promises) {
      SCOPED_TRACE(promise.address);
      ASSERT_TRUE(stream.Transcoding(promise.address));
      const ChunkTable chunk = ReadChunk(stream.GetFragmentPath(promise.address));
      EXPECT_EQ(chunk.start, promise.start);
      EXPECT_EQ(chunk.duration, promise.duration);
    }
  }

  const std::string films_ = std::string(system::kVar) + "/films";
  const std::string profiles_ = films_ + "/profiles";
};

TEST_F(SmoothStreamTest, IsPlannedAsAWholeWhenItOpens) {
  const SmoothStream stream = Opened(Media("h264_aac.mp4"));
  const std::string folder = FolderOf(stream.GetStreamID(), "SS");
  EXPECT_EQ(stream.GetErrorString(), "");
  EXPECT_EQ(stream.GetMainfest(), folder + "/Manifest");
  EXPECT_EQ(SmoothStream(stream.GetStreamID()).GetMainfest(), stream.GetMainfest());
  EXPECT_TRUE(fs::is_empty(folder + "/work"));
  const auto plan = ReadPlan(StreamFolder::Open("SS", stream.GetStreamID()).value());
  ASSERT_TRUE(plan);
  EXPECT_EQ(plan->delivery, Delivery::kSmooth);
  const std::string manifest = Content(stream.GetMainfest());
  EXPECT_THAT(manifest, HasSubstr(" CodecPrivateData=\"" + plan->picture.parameter_sets + "\""));
  EXPECT_EQ(PromisesOf(manifest).front().address, kFirstPicture);
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
}

class SmoothFilmTest : public SmoothStreamTest, public testing::WithParamInterface<const char*> {};

TEST_P(SmoothFilmTest, KeepsThePromisesOfItsManifest) {
  const SmoothStream stream = Opened(Media(GetParam()));
  ExpectPromisesKept(stream);
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(Films, SmoothFilmTest,
                         testing::Values("languages.mkv", "mpeg2_mp2.mpg", "anamorphic.mp4", "odd_size.mkv",
                                         "hevc_10bit.mkv", "encode_ntsc.ts", "encode_interlaced.ts",
                                         "encode_variable.mkv", "encode_rotated.mp4", "encode_late_sound.mkv",
                                         "encode_short_sound.mkv", "encode_short_picture.mkv"),
                         [](const auto& film) {
                           return std::regex_replace(std::string(film.param), std::regex("[^a-z0-9]"), "_");
                         });

TEST_F(SmoothStreamTest, KeepsItsPromisesWithoutSoundAndWithoutAPicture) {
  const SmoothStream silent = Opened(Media("silent.mp4"));
  EXPECT_THAT(Content(silent.GetMainfest()), Not(HasSubstr("Type=\"audio\"")));
  ExpectPromisesKept(silent);
  EXPECT_TRUE(silent.Close());
  const SmoothStream sound = Opened(Media("audio_only.m4a"));
  EXPECT_THAT(Content(sound.GetMainfest()), Not(HasSubstr("Type=\"video\"")));
  EXPECT_FALSE(sound.Transcoding(kFirstPicture));
  ExpectPromisesKept(sound);
  EXPECT_TRUE(sound.Close());
}

TEST_F(SmoothStreamTest, GivesItsLastChunkFirst) {
  const SmoothStream stream = Opened(Media("encode_film.mp4"));
  const std::vector<Promise> promises = PromisesOf(Content(stream.GetMainfest()));
  for (size_t n = promises.size(); n-- > 0;) EXPECT_TRUE(stream.Transcoding(promises[n].address)) << n;
  EXPECT_TRUE(stream.Close());
}

TEST_F(SmoothStreamTest, OffersEachTrackAndTheWantedOneFirst) {
  const SmoothStream stream = Opened(Media("languages.mkv"), "2");
  const std::string manifest = Content(stream.GetMainfest());
  const size_t wanted = manifest.find("Name=\"audio_2\" Language=\"de\"");
  const size_t other = manifest.find("Name=\"audio_1\" Language=\"en\"");
  EXPECT_NE(other, std::string::npos);
  EXPECT_LT(wanted, other);
}

TEST_F(SmoothStreamTest, HasNoOtherChunksThanThoseOfItsManifest) {
  const SmoothStream stream = Opened(Media("encode_25.mkv"));
  EXPECT_EQ(stream.GetFragmentPath(kFirstPicture), "") << "not made yet";
  for (const std::string& address :
       {std::string(), std::string("0"), std::string("a1_0"), std::string("Manifest"),
        std::string("QualityLevels(1500000)/Fragments(video=1)"),
        std::string("QualityLevels(1500000)/Fragments(video=120000000)"),
        std::string("QualityLevels(1500001)/Fragments(video=0)"),
        std::string("QualityLevels(128000)/Fragments(audio_2=0)"),
        std::string("../QualityLevels(1500000)/Fragments(video=0)"), std::string(kFirstPicture) + "\n",
        std::string(kFirstPicture) + std::string(1, '\0')}) {
    EXPECT_FALSE(stream.Transcoding(address)) << address;
    EXPECT_EQ(stream.GetFragmentPath(address), "") << address;
  }
  EXPECT_EQ(HttpLiveStream(stream.GetStreamID()).Transcoding("0"), false) << "of another type";
}

TEST_F(SmoothStreamTest, IsRefusedWithTheKeywordsOfHls) {
  ExpectRefused(films_ + "/missing.mp4", "");
  ExpectRefused(Media("h264_aac.mp4"), "", "no such profile");
  ExpectRefused(Media("h264_aac.mp4"), "", "hls");
  ExpectRefused(profiles_, "TransVideoNotSupported");
  ExpectRefused(Media("no_length.mkv"), "TransVideoNotSupported");
  ExpectRefused(Media("h264_aac.mp4"), "TransAudioNotSupported", "smooth", "7");
  ExpectRefused(Media("h264_aac.mp4"), "TransAudioNotSupported", "smooth", "", "mp3");
  ExpectRefused(Media("gigantic.avi"), "TransVideoOutOfResolutionCapability");
  ExpectRefused(Media("hasty.mp4"), "TransVideoOutOfFramerateCapability");
  WriteText(system::kSettingsFile, "transcoding=\"no\"\n");
  ExpectRefused(Media("h264_aac.mp4"), "TransEnable");
}

TEST_F(SmoothStreamTest, IsRefusedWhereTheEncoderDoesNotWork) {
  const std::string script = films_ + "/encoder";
  WriteText(script, "#!/bin/sh\nprintf 'no parameter sets'\n");
  fs::permissions(script, fs::perms(0755));
  fs::permissions(films_, fs::perms(0755));
  const Cover cover(script, "/usr/bin/ffmpeg");
  if (!cover) GTEST_SKIP() << "nothing can be mounted here";
  ExpectRefused(Media("h264_aac.mp4"), "");
}

TEST_F(SmoothStreamTest, IsRefusedWhenItsRecordIsTorn) {
  SmoothStream stream = Prepared(Media("h264_aac.mp4"));
  WriteText(FolderOf(stream.GetStreamID(), "SS") + "/request.json", "{\"version\":1");
  EXPECT_FALSE(Init(stream));
  ExpectNothingLeft();
}

TEST_F(SmoothStreamTest, HasNoChunksWhenTheFilmIsAnotherOneOrThePlanIsTorn) {
  const std::string film = Film("silent.mp4");
  const SmoothStream stream = Opened(film);
  ASSERT_TRUE(stream.Transcoding(kFirstPicture));
  const std::string plan = FolderOf(stream.GetStreamID(), "SS") + "/plan.json";
  const std::string whole = Content(plan);
  WriteText(plan, whole.substr(0, whole.size() / 2));
  EXPECT_FALSE(stream.Transcoding(kFirstPicture));
  EXPECT_EQ(stream.GetFragmentPath(kFirstPicture), "");
  WriteText(plan, whole);
  EXPECT_TRUE(stream.Transcoding(kFirstPicture));
  fs::rename(film, film + ".moved");
  Film("silent.mp4");  // the same bytes, another file
  EXPECT_FALSE(stream.Transcoding(kFirstPicture));
}

TEST_F(SmoothStreamTest, GivesNoTornManifest) {
  const SmoothStream stream = Opened(Media("silent.mp4"));
  const std::string path = stream.GetMainfest();
  const std::string whole = Content(path);
  for (size_t length = 0; length < whole.size(); length += 97) {
    WriteText(path, whole.substr(0, length));
    EXPECT_EQ(stream.GetMainfest(), "") << length;
  }
  WriteText(path, whole);
  EXPECT_EQ(stream.GetMainfest(), path);
  fs::remove(path);
  EXPECT_EQ(stream.GetMainfest(), "");
  fs::create_symlink("/etc/passwd", path);
  EXPECT_EQ(stream.GetMainfest(), "");
}

TEST_F(SmoothStreamTest, IsNothingUnderOtherNames) {
  for (const char* id : {"", ".", "..", "../HLS", "abc", "abcdefghijklmnopqrstuvwxyz234567"}) {
    SmoothStream stream(id);
    EXPECT_FALSE(stream.Transcoding(kFirstPicture)) << id;
    EXPECT_EQ(stream.GetFragmentPath(kFirstPicture), "") << id;
    EXPECT_EQ(stream.GetMainfest(), "") << id;
    EXPECT_FALSE(Init(stream)) << id;
    EXPECT_TRUE(stream.Close()) << id;
  }
}

TEST_F(SmoothStreamTest, IsClosedInAnyStateAndItsEncoderWithIt) {
  const SmoothStream prepared = Prepared(Media("silent.mp4"));
  EXPECT_TRUE(prepared.Close());
  EXPECT_TRUE(prepared.Close());
  // Long enough that the encoder waits for the viewer.
  const SmoothStream playing = Opened(Media("bulky.mkv"));
  EXPECT_TRUE(playing.Transcoding(kFirstPicture));
  EXPECT_TRUE(LookAtJob(StreamFolder::Open("SS", playing.GetStreamID()).value()).running);
  EXPECT_TRUE(playing.Close());
  ExpectNothingLeft();
}

TEST_F(SmoothStreamTest, CountsAmongAllThatEncodeOnTheMachine) {
  WriteText(system::kSettingsFile, "jobs=\"1\"\n");
  HttpLiveStream other(VTEStream::VTE_Init(VTEInitArgument(Media("silent.mp4"), "HLS", profiles_, "hls")));
  ASSERT_TRUE(other.Init(Json::Value(Json::objectValue), Json::Value(), "", "")) << other.GetErrorString();
  const SmoothStream playing = Opened(Media("bulky.mkv"));
  ASSERT_TRUE(playing.Transcoding(kFirstPicture));
  EXPECT_EQ(CountJobs(), 1);
  const std::vector<ListedStream> listed = ListStreams();
  const auto found = std::ranges::find(listed, playing.GetStreamID(), &ListedStream::id);
  ASSERT_NE(found, listed.end());
  EXPECT_EQ(found->type, "SS");
  EXPECT_TRUE(found->encoding);
  EXPECT_FALSE(other.Transcoding("0")) << "its viewer is there";
  EXPECT_TRUE(playing.Close());
  EXPECT_TRUE(other.Transcoding("0"));
  EXPECT_TRUE(other.Close());
  EXPECT_EQ(CountJobs(), 0);
}

}  // namespace
}  // namespace kinora::engine
