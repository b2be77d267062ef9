// Live WebM of real films, with the real encoder.
#include <gmock/gmock.h>

#include "platform/engine/job.h"
#include "platform/engine/stream_opening.h"
#include "tests/unit/platform/engine/webm.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;

constexpr int64_t kFrame = 42;  // milliseconds, of the slowest film
constexpr int kSeek = 7;        // seconds; all the films are twelve long

// What a film has to be behind `kSeek`, too.
struct Case {
  const char* film;
  const char* tracks;      // as WebMBody has them
  int video_from = kSeek;  // seconds: where the picture starts after the seek; -1: none is left
  int audio_from = kSeek;  // the same of the sound
  const char* profile = "low";
  int64_t lasts_ms = 12'000;
};

void PrintTo(const Case& film, std::ostream* out) { *out << film.film; }

class WebMFilms : public WebMTest, public testing::WithParamInterface<Case> {
 protected:
  // Growing times from `from` seconds on; a key picture first.
  static void ExpectFrom(const std::vector<Moment>& moments, int from, const std::string& what) {
    if (from < 0) return;
    ASSERT_FALSE(moments.empty()) << what;
    EXPECT_NEAR(moments.front().ms, from * 1000, kFrame) << what;
    EXPECT_TRUE(moments.front().key) << what;
    for (size_t i = 1; i < moments.size(); ++i) {
      ASSERT_GT(moments[i].ms, moments[i - 1].ms) << what << " " << i;
      ASSERT_LT(moments[i].ms - moments[i - 1].ms, 1000) << what << " " << i;
    }
  }
};

TEST_P(WebMFilms, PlayToTheEndFromAnywhereInTheirOwnTime) {
  const Case& film = GetParam();
  WebMStream stream = Opened(Media(film.film), film.profile);
  for (const int seek : {0, kSeek}) {
    const WebMBody body(Played(stream, seek));
    EXPECT_TRUE(body.Decodes()) << seek;
    EXPECT_EQ(body.Tracks(), film.tracks) << seek;
    const std::vector<Moment> video = body.Moments("video");
    const std::vector<Moment> audio = body.Moments("audio");
    if (std::string(film.tracks).find("vp") == 0)
      ExpectFrom(video, seek == 0 ? 0 : film.video_from, "video from " + std::to_string(seek));
    if (std::string(film.tracks).find("o") != std::string::npos)
      ExpectFrom(audio, seek == 0 ? 0 : film.audio_from, "audio from " + std::to_string(seek));
    const int64_t last = std::max(video.empty() ? 0 : video.back().ms, audio.empty() ? 0 : audio.back().ms);
    EXPECT_NEAR(last, film.lasts_ms, 150) << seek;
  }
  EXPECT_FALSE(IsEncoding(stream));
}

INSTANTIATE_TEST_SUITE_P(
    All, WebMFilms,
    testing::Values(
        Case{"encode_25.mkv", "vp8,160,90\nopus\n"}, Case{"encode_film.mp4", "vp8,160,90\nopus\n"},
        Case{"encode_ntsc.ts", "vp8,160,90\nopus\n"},
        Case{"encode_ntsc.ts", "vp8,160,90\nopus\n", kSeek, kSeek, "surround"},
        Case{"encode_interlaced.ts", "vp8,160,90\nopus\n"}, Case{"encode_program.mpg", "vp8,160,90\nopus\n"},
        Case{"encode_variable.mkv", "vp8,160,90\nopus\n"}, Case{"encode_odd.mkv", "vp8,212,90\n"},
        Case{"encode_rotated.mp4", "vp8,90,160\nopus\n"}, Case{"encode_pq.mkv", "vp8,160,90\n"},
        Case{"encode_late_sound.mkv", "vp8,160,90\nopus\n"},
        Case{"encode_short_sound.mkv", "vp8,160,90\nopus\n", kSeek, -1},
        Case{"encode_short_picture.mkv", "vp8,160,90\nopus\n", -1},
        Case{"live_opus.mkv", "vp8,160,90\nopus\n"}, Case{"live_vp9.webm", "vp9,160,90\nopus\n", 5, 5},
        Case{"live_vp9_aac.mp4", "vp9,160,90\nopus\n", 5, 5}, Case{"live_sound.webm", "opus\n"}));

class WebMStreams : public WebMTest {};

TEST_F(WebMStreams, OpenWithoutStartingAnything) {
  const WebMStream stream = Opened(Film());
  EXPECT_EQ(stream.GetErrorString(), "");
  EXPECT_TRUE(fs::is_directory(FolderOf(stream).WorkPath("")));
  const std::optional<StreamPlan> plan = ReadPlan(FolderOf(stream));
  ASSERT_TRUE(plan);
  EXPECT_EQ(plan->delivery, Delivery::kWebM);
  EXPECT_EQ(plan->source.video.codec, "h264");
  EXPECT_FALSE(IsEncoding(stream));
  EXPECT_EQ(CountJobs(), 0);
  EXPECT_TRUE(stream.Close());
  ExpectNothingLeft();
  EXPECT_TRUE(stream.Close()) << "again";
}

TEST_F(WebMStreams, AreRefusedWithAKeywordAndNothingIsLeft) {
  const struct {
    std::string film, track, keyword, settings;
  } cases[] = {
      {Film(), "7", "TransAudioNotSupported", ""},
      {Film(), "", "TransEnable", "transcoding=\"no\"\n"},
      {profiles_, "", "TransVideoNotSupported", ""},
      {"/no/such/film.mkv", "", "", ""},
      {Media("gigantic.avi"), "", "TransVideoOutOfResolutionCapability", ""},
      {Film(), "", "TransSapceNotEnough", "streams_quota=\"0\"\n"},
  };
  for (const auto& one : cases) {
    Settings(one.settings);
    WebMStream stream = Prepared(one.film);
    ASSERT_FALSE(stream.GetStreamID().empty());
    EXPECT_FALSE(stream.Init(one.track)) << one.film << one.settings;
    EXPECT_EQ(stream.GetErrorString(), one.keyword) << one.film << one.settings;
    ExpectNothingLeft();
  }
}

TEST_F(WebMStreams, HaveNoBodyWhereThereIsNoFilm) {
  WebMStream stream = Opened(Film());
  std::array<char, 16> buffer{};
  EXPECT_LT(stream.Read(buffer.data(), buffer.size()), 1) << "nothing was started";
  stream.KillMonitor();
  for (const int seek : {13, 100, INT32_MAX, -1}) EXPECT_FALSE(stream.Transcoding(kEncoder, seek)) << seek;
  EXPECT_LT(stream.Read(buffer.data(), buffer.size()), 1);
  EXPECT_TRUE(stream.Transcoding(kEncoder, 11)) << "its last second";
  WebMStream unknown("abcdefghijklmnopqrstuvwxyz234567");
  EXPECT_FALSE(unknown.Transcoding(kEncoder, 0));
  WebMStream none("");
  EXPECT_FALSE(none.Transcoding(kEncoder, 0));
  EXPECT_FALSE(none.Init(""));
}

TEST_F(WebMStreams, PlayFilmsThatDoNotSayHowLongTheyAre) {
  WebMStream stream = Opened(Media("no_length.mkv"));
  const WebMBody body(Played(stream, 0));
  EXPECT_NEAR(static_cast<double>(body.Moments("video").back().ms), 5000, 150);
}

TEST_F(WebMStreams, PlayTheTrackThatWasAskedFor) {
  WebMStream stream = Opened(Media("languages.mkv"), "low", "2");
  EXPECT_EQ(ReadPlan(FolderOf(stream))->audio.at(0).track, 2);
  EXPECT_EQ(WebMBody(Played(stream, 6)).Tracks(), "vp8,640,360\nopus\n");
}

TEST_F(WebMStreams, AreNotMadeFromAnotherFilmOfTheSameName) {
  const std::string film = Film();
  WebMStream stream = Opened(film);
  fs::rename(film, film + ".away");
  EXPECT_FALSE(stream.Transcoding(kEncoder, 0)) << "gone";
  fs::copy_file(Media("encode_odd.mkv"), film);
  EXPECT_FALSE(stream.Transcoding(kEncoder, 0)) << "replaced";
  fs::rename(film + ".away", film);
  EXPECT_TRUE(stream.Transcoding(kEncoder, 0)) << "back";
}

}  // namespace
}  // namespace kinora::engine
