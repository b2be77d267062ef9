// The decisions of kinora-index and kinora-remux.
#include <gtest/gtest.h>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"
#include "helpers/index/codec_string.h"
#include "helpers/index/key_picture.h"
#include "helpers/index/plan.h"
#include "helpers/remux/demuxed.h"
#include "helpers/remux/selection.h"

namespace kinora::helper {
namespace {

using namespace std::string_literals;

constexpr int64_t kSecond = kTransportClock;

TEST(ChooseCuts, TakesKeysAboutSixSecondsApart) {
  struct Case {
    std::vector<int64_t> times;  // tenths of a second
    int64_t end;
    std::vector<size_t> cuts;
  };
  const Case cases[] = {
      {{0, 20, 40, 60, 80, 100, 120}, 140, {0, 3, 6}},
      {{0, 58, 59, 118}, 140, {0, 2, 3}},
      {{0, 100, 101, 200}, 300, {0, 1, 3}},
      {{0}, 40, {0}},
      {{0, 60}, 64, {0}},  // the rest would be too short
      {{0, 60}, 65, {0, 1}},
      {{-10, 58, 60, 120}, 200, {0, 2, 3}},  // what is before media time 0 does not count
  };
  for (const Case& c : cases) {
    std::vector<int64_t> times;
    for (const int64_t time : c.times) times.push_back(time * kSecond / 10);
    EXPECT_EQ(ChooseCuts(times, c.end * kSecond / 10), c.cuts) << testing::PrintToString(c.times);
  }
}

TEST(DecodeTimes, AreThePresentationTimesSortedAndMovedByTheDepth) {
  using Times = std::vector<int64_t>;
  EXPECT_EQ(DecodeTimes({}, {100, 140, 120}, 0, 20), (Times{100, 120, 140}));
  EXPECT_EQ(DecodeTimes({60, 80}, {100, 180, 140, 120, 160}, 2, 20), (Times{60, 80, 100, 120, 140}));
  // More is known of what was before than is needed, or less.
  EXPECT_EQ(DecodeTimes({80, 20, 60, 40}, {100, 140, 120}, 2, 20), (Times{60, 80, 100}));
  EXPECT_EQ(DecodeTimes({}, {100, 140, 120}, 2, 20), (Times{60, 80, 100}));
  EXPECT_EQ(DecodeTimes({75}, {100, 140, 120}, 2, 20), (Times{55, 75, 100}));
  EXPECT_EQ(DecodeTimes({60, 80}, {100}, 2, 20), (Times{60}));
  EXPECT_EQ(DecodeTimes({60}, {}, 2, 20), (Times{}));
}

TEST(KindOfKey, IsToldByTheFirstUnitOfAPicture) {
  const std::string lengths = "\1\x64\0\x1f\xff\xe1"s;  // a configuration record: four bytes of length
  const std::string hevc_lengths = "\1"s + std::string(20, '\0') + "\xff\0"s;
  struct Case {
    const char* what;
    AVCodecID codec;
    std::string extradata;
    std::string packet;
    KeyPicture kind;
  };
  const Case cases[] = {
      {"IDR", AV_CODEC_ID_H264, lengths, "\0\0\0\2\x65\1"s, KeyPicture::kClean},
      {"message, IDR", AV_CODEC_ID_H264, lengths, "\0\0\0\2\6\1\0\0\0\2\x65\1"s, KeyPicture::kClean},
      {"recovery point", AV_CODEC_ID_H264, lengths, "\0\0\0\2\6\1\0\0\0\2\x41\1"s, KeyPicture::kOpen},
      {"message alone", AV_CODEC_ID_H264, lengths, "\0\0\0\2\6\1"s, KeyPicture::kNone},
      {"length beyond the end", AV_CODEC_ID_H264, lengths, "\xff\xff\xff\xff\6\1"s, KeyPicture::kNone},
      {"cut off in a length", AV_CODEC_ID_H264, lengths, "\0\0\0"s, KeyPicture::kNone},
      {"nothing", AV_CODEC_ID_H264, lengths, "", KeyPicture::kNone},
      {"start codes, IDR", AV_CODEC_ID_H264, "", "\0\0\0\1\x09\x10\0\0\1\x67\1\0\0\1\x65\1"s,
       KeyPicture::kClean},
      {"start codes, P", AV_CODEC_ID_H264, "", "\0\0\1\x09\x10\0\0\1\x41\1"s, KeyPicture::kOpen},
      {"HEVC IDR", AV_CODEC_ID_HEVC, hevc_lengths, "\0\0\0\2\x26\1"s, KeyPicture::kClean},
      {"HEVC CRA", AV_CODEC_ID_HEVC, hevc_lengths, "\0\0\0\2\x2a\1"s, KeyPicture::kOpen},
      {"HEVC trailing", AV_CODEC_ID_HEVC, hevc_lengths, "\0\0\0\2\x02\1"s, KeyPicture::kNone},
      {"another codec", AV_CODEC_ID_VP8, "", "\0\0\1\x65"s, KeyPicture::kNone},
  };
  for (const Case& c : cases) EXPECT_EQ(KindOfKey(c.codec, c.extradata, c.packet), c.kind) << c.what;
}

TEST(CodecString, NamesProfileAndLevel) {
  EXPECT_EQ(CodecString(AV_CODEC_ID_H264, "\1\x64\0\x28\xff"s), "avc1.640028");
  EXPECT_EQ(CodecString(AV_CODEC_ID_H264, "\0\0\0\1\x67\x42\xc0\x1e\x8c"s), "avc1.42c01e");
  EXPECT_EQ(CodecString(AV_CODEC_ID_H264, "\0\0\0\1\x67\x42"s), "");
  EXPECT_EQ(CodecString(AV_CODEC_ID_H264, ""), "");
  const std::string main = "\1\1\x60\0\0\0\x90\0\0\0\0\0\x5d"s;
  EXPECT_EQ(CodecString(AV_CODEC_ID_HEVC, main), "hvc1.1.6.L93.90");
  const std::string main10_high_tier = "\1\x22\x20\0\0\0\xb0\0\0\0\0\0\x99"s;
  EXPECT_EQ(CodecString(AV_CODEC_ID_HEVC, main10_high_tier), "hvc1.2.4.H153.b0");
  EXPECT_EQ(CodecString(AV_CODEC_ID_HEVC, main.substr(0, 12)), "");
  const std::string parameter_sets =
      "\0\0\0\1\x40\1\x0c\0\0\0\1\x42\1\1\1\x60\0\0\3\0\x90\0\0\3\0\0\3\0\x5d\xa0"s;
  EXPECT_EQ(CodecString(AV_CODEC_ID_HEVC, parameter_sets), "hvc1.1.6.L93.90");
  EXPECT_EQ(CodecString(AV_CODEC_ID_HEVC, parameter_sets.substr(0, 27)), "");
  EXPECT_EQ(CodecString(AV_CODEC_ID_HEVC, parameter_sets.substr(0, 12)), "");
  EXPECT_EQ(CodecString(AV_CODEC_ID_VP8, main), "");
}

// A film of 25 pictures a second whose times begin at 1.4 s, cut at 0, 6 and 12 s of media time; its sound
// has another time base.
FilmIndex SomeFilm() {
  FilmIndex film;
  film.demuxer = "mov";
  film.origin = 1'400'000;
  film.end = 18 * kSecond;
  film.reorder_depth = 2;
  film.frame_duration = 512;
  IndexTrack video;
  video.stream = 0;
  video.codec = "h264";
  video.time_base = {1, 12800};
  video.extradata = "\1\x64\0"s;
  IndexTrack audio;
  audio.stream = 3;
  audio.codec = "aac";
  audio.time_base = {1, 44100};
  audio.sample_rate = 44100;
  audio.channels = 2;
  film.tracks = {video, audio};
  for (const int64_t second : {0, 6, 12}) {
    Cut cut;
    cut.pts = 17920 + second * 12800;
    cut.lead_pts = cut.pts - 100;
    cut.position = second * 1000;
    cut.lead_position = second * 1000;
    cut.lists = {
        {{1000 + second, 50, cut.pts - 1024, cut.pts}, {1050 + second, 7, cut.pts - 512, cut.pts + 512}},
        {{900 + second, 9, 61740 + second * 44100, 61740 + second * 44100}}};
    film.cuts.push_back(cut);
  }
  return film;
}

TEST(FilmIndex, IsReadAsItWasWritten) {
  const FilmIndex film = SomeFilm();
  const std::string bytes = Serialize(film);
  const IndexReader reader(bytes);
  EXPECT_EQ(reader.Film().demuxer, "mov");
  EXPECT_EQ(reader.Film().origin, film.origin);
  EXPECT_EQ(reader.Film().end, film.end);
  EXPECT_EQ(reader.Film().reorder_depth, 2);
  EXPECT_EQ(reader.Film().tracks[0].extradata, film.tracks[0].extradata);
  EXPECT_EQ(reader.Film().tracks[1].sample_rate, 44100);
  ASSERT_EQ(reader.Film().cuts.size(), 3U);
  EXPECT_TRUE(reader.HasLists());
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(reader.Film().cuts[i].pts, film.cuts[i].pts);
    EXPECT_EQ(reader.Film().cuts[i].lead_position, film.cuts[i].lead_position);
    EXPECT_EQ(reader.ListsOf(i), film.cuts[i].lists);
  }
}

TEST(FilmIndex, IsNotReadWhenAnythingIsMissing) {
  const std::string bytes = Serialize(SomeFilm());
  const auto read = [](std::string_view part) {
    const IndexReader reader(part);
    for (size_t i = 0; i < reader.Film().cuts.size(); ++i) reader.ListsOf(i);
  };
  EXPECT_NO_THROW(read(bytes));
  for (size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_THROW(read(std::string_view(bytes).substr(0, length)), Failure) << length;
  }
}

TEST(FilmIndex, ComparesTimesExactly) {
  const FilmIndex film = SomeFilm();
  const IndexTrack& sound = film.tracks[1];
  // 61740 + 44100 / 3 = 76440: a third of a second of media time, which ticks cannot tell.
  EXPECT_TRUE(film.Reaches(sound, 76440, {1, 3}));
  EXPECT_FALSE(film.Reaches(sound, 76439, {1, 3}));
  EXPECT_FALSE(film.Reaches(sound, 76440, {1000001, 3000000}));
}

TEST(Select, FindsTheCutsOfAFragment) {
  const FilmIndex film = SomeFilm();
  const Selection first = Select(film, std::nullopt, Moment{6, 1}, 0, 3);
  EXPECT_TRUE(first.Starts());
  EXPECT_EQ(first.video, size_t{0});
  EXPECT_EQ(first.audio, size_t{1});
  EXPECT_EQ(first.last_cut, 0U);
  const Selection last = Select(film, Moment{12 * kSecond, kSecond}, std::nullopt, 0, std::nullopt);
  EXPECT_EQ(last.first_cut, 2U);
  EXPECT_EQ(last.last_cut, 2U);
  const Selection sound = Select(film, Moment{13, 2}, Moment{12, 1}, std::nullopt, 3);
  EXPECT_EQ(sound.first_cut, 1U);
  EXPECT_EQ(sound.last_cut, 2U);
}

TEST(Select, RefusesWhatIsNoFragment) {
  const FilmIndex film = SomeFilm();
  const std::optional<int> none;
  EXPECT_THROW(Select(film, Moment{5, 1}, std::nullopt, 0, none), Failure);
  EXPECT_THROW(Select(film, Moment{6, 1}, Moment{6, 1}, 0, none), Failure);
  EXPECT_THROW(Select(film, std::nullopt, std::nullopt, 3, none), Failure);
  EXPECT_THROW(Select(film, std::nullopt, std::nullopt, 0, 0), Failure);
  EXPECT_THROW(Select(film, std::nullopt, std::nullopt, none, 1), Failure);
}

}  // namespace
}  // namespace kinora::helper
