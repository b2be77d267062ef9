// Fragments that kinora-remux copies, held against ffmpeg's own copy of the whole film.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "helpers/common/exit_codes.h"
#include "platform/engine/film_cuts.h"
#include "tests/unit/helpers/copying.h"

namespace kinora::helper {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kSecond = 90000;  // ticks
constexpr int64_t kOrigin = 90000;  // where media time 0 lies

struct Film {
  const char* name;
  std::vector<int64_t> keys;  // milliseconds from the film's first picture; where it must be cut
  const char* video = "0";
  const char* audio = "1";
};

void PrintTo(const Film& film, std::ostream* out) { *out << film.name; }

class CopiedFilm : public testing::TestWithParam<Film> {
 protected:
  void SetUp() override {
    film_ = CopyMedia(GetParam().name);
    index_ = MakeIndex(film_, folder_.File("index"));
    ASSERT_EQ(index_.status, kDone);
    ASSERT_EQ(index_.line["trouble"].asString(), Has(GetParam().video) ? "" : "it has no picture");
    for (size_t n = 0; n < index_.Fragments(); ++n) {
      const int status = RemuxFragment(film_, index_, n, GetParam().video, GetParam().audio, Fragment(n));
      ASSERT_EQ(status, kDone) << n;
    }
    ListPackets();
  }

  std::string Fragment(size_t n) const { return folder_.File(std::to_string(n) + ".ts"); }
  bool Has(const char* track) const { return std::string_view(track) != "-"; }
  bool HasBoth() const { return Has(GetParam().video) && Has(GetParam().audio); }

  // All that is looked at later: the packets of every fragment, and those of the film that ffmpeg has copied.
  void ListPackets();
  const std::vector<Copied>& PicturesOf(size_t n) const { return packets_[n * streams_.size()]; }
  const std::vector<Copied>& SoundOf(size_t n) const { return packets_[(n + 1) * streams_.size() - 1]; }

  // ffmpeg makes up finer times for sound where the film's are whole milliseconds.
  int64_t ToleranceFor(const std::string& stream) const {
    return film_.ends_with(".mkv") && stream.starts_with("a") ? kSecond / 1000 : 0;
  }

  void ExpectEveryPacketOnceInOrderAndOnTime();
  void ExpectCutsAtKeyPicturesAboutSixSecondsApart();
  void ExpectSoundToStartWithThePicture();
  void ExpectFragmentsAsLongAsTheCutsSay();
  void ExpectTheSameWhenCopiedAgain();

  ScratchFolder folder_;
  std::string film_;
  Index index_;
  std::vector<std::string> streams_;
  std::vector<std::vector<Copied>> packets_;  // of each fragment's streams, then of the whole film's
};

void CopiedFilm::ListPackets() {
  if (Has(GetParam().video)) streams_.emplace_back("v:0");
  if (Has(GetParam().audio)) streams_.emplace_back("a:0");
  CopyWhole(film_, streams_, folder_.File("whole.ts"));
  std::vector<std::string> files;
  for (size_t n = 0; n < index_.Fragments(); ++n) files.push_back(Fragment(n));
  files.push_back(folder_.File("whole.ts"));
  packets_ = PacketsOf(files, streams_);
  for (const std::vector<Copied>& packets : packets_) ASSERT_FALSE(packets.empty());
}

void CopiedFilm::ExpectEveryPacketOnceInOrderAndOnTime() {
  for (size_t stream = 0; stream < streams_.size(); ++stream) {
    std::vector<Copied> all;
    for (size_t n = 0; n < index_.Fragments(); ++n) {
      const std::vector<Copied>& part = packets_[n * streams_.size() + stream];
      all.insert(all.end(), part.begin(), part.end());
    }
    ExpectSame(all, packets_[index_.Fragments() * streams_.size() + stream], ToleranceFor(streams_[stream]));
  }
}

void CopiedFilm::ExpectCutsAtKeyPicturesAboutSixSecondsApart() {
  if (!Has(GetParam().video)) return;
  const int64_t first = PicturesOf(0).front().pts;
  ASSERT_EQ(index_.Fragments(), GetParam().keys.size());
  for (size_t n = 0; n < index_.Fragments(); ++n) {
    const int64_t start = PicturesOf(n).front().pts;
    EXPECT_NEAR(static_cast<double>(start - first), static_cast<double>(GetParam().keys[n] * 90), 100) << n;
    if (n > 0) {
      EXPECT_EQ(start - kOrigin, index_.Cut(n));
    }
  }
}

void CopiedFilm::ExpectSoundToStartWithThePicture() {
  if (!HasBoth()) return;
  for (size_t n = 1; n < index_.Fragments(); ++n) {
    const int64_t picture = PicturesOf(n).front().pts;
    const int64_t sound = SoundOf(n).front().pts;
    EXPECT_GE(sound, picture - 1) << n;
    EXPECT_LT(sound - picture, kSecond / 10) << n;
  }
}

void CopiedFilm::ExpectFragmentsAsLongAsTheCutsSay() {
  if (!Has(GetParam().video)) return;
  for (size_t n = 0; n < index_.Fragments(); ++n) {
    int64_t end = 0;
    for (const Copied& packet : PicturesOf(n)) end = std::max(end, packet.pts);
    const auto told = static_cast<double>(index_.Cut(n + 1));
    EXPECT_NEAR(static_cast<double>(end - kOrigin), told, kSecond / 10.0) << n;
  }
}

void CopiedFilm::ExpectTheSameWhenCopiedAgain() {
  const size_t n = index_.Fragments() - 1;
  ASSERT_EQ(RemuxFragment(film_, index_, n, GetParam().video, GetParam().audio, folder_.File("again.ts")),
            kDone);
  EXPECT_TRUE(ReadWhole(Fragment(n)) == ReadWhole(folder_.File("again.ts")));
}

TEST_P(CopiedFilm, IsTheSameFilmInFragments) {
  ExpectEveryPacketOnceInOrderAndOnTime();
  ExpectCutsAtKeyPicturesAboutSixSecondsApart();
  ExpectSoundToStartWithThePicture();
  ExpectFragmentsAsLongAsTheCutsSay();
  ExpectTheSameWhenCopiedAgain();
}

const std::vector<int64_t> kEvery2 = {0, 6000, 12000, 18000, 24000};
const std::vector<int64_t> kEvery4 = {0, 8240, 16480, 24720};
const std::vector<int64_t> kEvery10 = {0, 10427, 20854};

INSTANTIATE_TEST_SUITE_P(
    Films, CopiedFilm,
    testing::Values(Film{"pyramid.mp4", kEvery2}, Film{"pyramid.mkv", kEvery2}, Film{"pyramid.ts", kEvery2},
                    Film{"pyramid.m2ts", kEvery2}, Film{"plain.mp4", kEvery4}, Film{"plain.mkv", kEvery4},
                    Film{"plain.ts", kEvery4}, Film{"film_rate.mp4", kEvery10},
                    Film{"film_rate.mkv", kEvery10}, Film{"film_rate.ts", kEvery10},
                    Film{"negative_composition.mp4", kEvery2}, Film{"fragmented.mp4", kEvery2},
                    Film{"eac3.mkv", kEvery4}, Film{"silent.mkv", kEvery2, "0", "-"},
                    Film{"silent.mp4", kEvery2, "0", "-"}, Film{"late_picture.mkv", kEvery2},
                    Film{"no_cues.mkv", kEvery2}, Film{"hevc.mkv", {0, 6000, 12000}, "0", "-"},
                    Film{"hevc.mp4", {0, 6000, 12000}, "0", "-"}, Film{"sound.m4a", {}, "-", "0"}),
    [](const testing::TestParamInfo<Film>& film) {
      std::string name = film.param.name;
      std::replace(name.begin(), name.end(), '.', '_');
      return name;
    });

// ---- what is refused

TEST(Index, SaysWhyAVideoIsNotCopied) {
  struct Case {
    const char* film;
    const char* trouble;
  };
  const Case cases[] = {
      {"open.mkv", "its groups of pictures are open"},
      {"open.mp4", "its groups of pictures are open"},
      {"open_hevc.mkv", "its groups of pictures are open"},
      {"mid_group.mp4", "an edit list cuts it between its key pictures"},
      {"ten_bits.mkv", "its pixels are yuv420p10le"},
      {"vp8.webm", "players are not given vp8"},
      {"sound.m4a", "it has no picture"},
  };
  const ScratchFolder folder;
  for (const Case& c : cases) {
    const Index index = MakeIndex(CopyMedia(c.film), folder.File("index"));
    EXPECT_EQ(index.status, kDone) << c.film;
    EXPECT_EQ(index.line["trouble"].asString(), c.trouble) << c.film;
  }
}

TEST(Index, IsNotMadeOfAFilmWithoutOneUnlessItIsScanned) {
  const ScratchFolder folder;
  for (const char* film : {"pyramid.ts", "fragmented.mp4"}) {
    EXPECT_FALSE(MakeIndex(CopyMedia(film), folder.File("index"), false).line["indexed"].asBool()) << film;
    EXPECT_TRUE(MakeIndex(CopyMedia(film), folder.File("index"), true).line["indexed"].asBool()) << film;
  }
}

TEST(Index, IsWrittenToAFileWithItsFirstByteLast) {
  const ScratchFolder folder;
  const Index index = MakeIndex(CopyMedia("pyramid.ts"), folder.File("index"));
  const std::string file = folder.File("scanned");
  EXPECT_EQ(ScanToFile(CopyMedia("pyramid.ts"), file), kDone);
  EXPECT_TRUE(ReadWhole(file) == ReadWhole(index.file));
  EXPECT_EQ(ScanToFile(CopyMedia("pyramid.ts"), "/dev/full"), kNoOutput);
}

TEST(Index, IsAlsoMadeOfWhatCannotBeCutWhenItGoesToAFile) {
  const ScratchFolder folder;
  WriteWhole(folder.File("noise.mkv"), std::string(100'000, 'x'));
  ASSERT_EQ(ScanToFile(folder.File("noise.mkv"), folder.File("scanned")), kDone);
  const std::string line = ReadWhole(folder.File("scanned"));
  const auto film = engine::ParseFilmCuts(std::string_view(line).substr(0, line.find('\n')));
  ASSERT_TRUE(film) << line;
  EXPECT_TRUE(film->indexed);
  EXPECT_FALSE(film->trouble.empty());
}

TEST(Index, NamesTheCodecAsPlaylistsDo) {
  const ScratchFolder folder;
  EXPECT_EQ(MakeIndex(CopyMedia("pyramid.mp4"), folder.File("index")).line["codec"].asString(),
            "avc1.4d400b");
  EXPECT_EQ(MakeIndex(CopyMedia("pyramid.ts"), folder.File("index")).line["codec"].asString(), "avc1.4d400b");
  EXPECT_EQ(MakeIndex(CopyMedia("hevc.mp4"), folder.File("index")).line["codec"].asString(),
            "hvc1.1.6.L30.90");
  EXPECT_EQ(MakeIndex(CopyMedia("hevc.ts"), folder.File("index")).line["codec"].asString(),
            "hvc1.1.6.L30.90");
}

// ---- sound alone

TEST(CopiedSound, IsTakenByTimeFromAnyTrack) {
  const ScratchFolder folder;
  const std::string film = CopyMedia("two_tracks.mkv");
  const Index index = MakeIndex(film, folder.File("index"));
  ASSERT_EQ(index.status, kDone);
  const char* const times[] = {"-", "31031/10000", "7/1", "1001/50", "-"};
  std::vector<std::string> files;
  for (size_t n = 0; n + 1 < std::size(times); ++n) {
    files.push_back(folder.File(std::to_string(n) + ".ts"));
    ASSERT_EQ(Remux(film, index.file, files.back(), {times[n], times[n + 1], "-", "2"}), kDone) << n;
  }
  CopyWhole(film, {"a:1"}, folder.File("whole.ts"));
  files.push_back(folder.File("whole.ts"));
  const std::vector<std::vector<Copied>> packets = PacketsOf(files, {"a:0"});
  std::vector<Copied> all;
  for (size_t n = 0; n + 1 < packets.size(); ++n) all.insert(all.end(), packets[n].begin(), packets[n].end());
  ExpectSame(all, packets.back(), kSecond / 1000);
}

TEST(CopiedSound, MayComeLaterThanThePicture) {
  const ScratchFolder folder;
  for (const char* name : {"late_sound.mp4", "late_sound.mkv"}) {
    const std::string film = CopyMedia(name);
    const Index index = MakeIndex(film, folder.File("index"));
    ASSERT_EQ(RemuxFragment(film, index, 0, "0", "1", folder.File("part.ts")), kDone);
    const std::vector<std::vector<Copied>> packets = PacketsOf({folder.File("part.ts")}, {"v:0", "a:0"});
    const int64_t late = packets[1].front().pts - packets[0].front().pts;
    EXPECT_NEAR(static_cast<double>(late), 0.7 * kSecond, 0.03 * kSecond) << name;
  }
}

// ---- faults

class RemuxFault : public testing::Test {
 protected:
  void Take(const std::string& name) {
    film_ = folder_.File(name);
    fs::copy_file(CopyMedia(name), film_);
    index_ = MakeIndex(film_, folder_.File("index"));
    ASSERT_EQ(index_.status, kDone);
  }
  int Try(size_t n) { return RemuxFragment(film_, index_, n, "0", "1", folder_.File("part.ts")); }
  bool IsMarkedWhole() const {
    const std::string fragment = ReadWhole(folder_.File("part.ts"));
    return fragment.size() >= 188 && fragment.substr(fragment.size() - 188, 4) == "\x47\x1f\xff\x10";
  }

  ScratchFolder folder_;
  std::string film_;
  Index index_;
};

TEST_F(RemuxFault, AFilmThatBecameShorterGivesNoFragment) {
  for (const char* name : {"pyramid.mp4", "pyramid.mkv", "pyramid.ts"}) {
    Take(name);
    ASSERT_EQ(Try(2), kDone) << name;
    EXPECT_TRUE(IsMarkedWhole()) << name;
    fs::resize_file(film_, fs::file_size(film_) / 2);
    EXPECT_EQ(Try(2), kUnreadable) << name;
    EXPECT_FALSE(IsMarkedWhole()) << name;
  }
}

// Where the pictures of an MP4 film lie in the file.
std::vector<size_t> PlacesOfPictures(const std::string& film) {
  const Ended ended = RunProgram({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                  "packet=pos", "-of", "csv=p=0", film});
  std::vector<size_t> places;
  std::istringstream lines(ended.output);
  for (size_t place = 0; lines >> place;) places.push_back(place);
  return places;
}

// Without its end a Matroska film has lost its index: what the demuxer has met by chance is not taken for
// one.
class CutOffFilm : public testing::TestWithParam<std::tuple<const char*, int>> {};

TEST_P(CutOffFilm, IsCopiedUpToItsEnd) {
  const auto& [name, percent] = GetParam();
  const ScratchFolder folder;
  const std::string film = folder.File(name);
  const std::string whole = ReadWhole(CopyMedia(name));
  WriteWhole(film, whole.substr(0, whole.size() * static_cast<size_t>(percent) / 100));
  const Index index = MakeIndex(film, folder.File("index"));
  ASSERT_EQ(index.status, kDone);
  ASSERT_EQ(index.line["trouble"].asString(), "");
  EXPECT_GE(index.Fragments(), static_cast<size_t>(percent) / 30);
  std::vector<std::string> files;
  for (size_t n = 0; n < index.Fragments(); ++n) {
    files.push_back(folder.File(std::to_string(n) + ".ts"));
    ASSERT_EQ(RemuxFragment(film, index, n, "0", "1", files.back()), kDone) << n;
  }
  CopyWhole(film, {"v:0", "a:0"}, folder.File("whole.ts"));
  files.push_back(folder.File("whole.ts"));
  const std::vector<std::vector<Copied>> packets = PacketsOf(files, {"v:0", "a:0"});
  for (size_t stream = 0; stream < 2; ++stream) {
    std::vector<Copied> all;
    for (size_t n = 0; n < index.Fragments(); ++n) {
      all.insert(all.end(), packets[2 * n + stream].begin(), packets[2 * n + stream].end());
    }
    ExpectSame(all, packets[2 * index.Fragments() + stream], kSecond / 1000);
  }
}

INSTANTIATE_TEST_SUITE_P(Films, CutOffFilm,
                         testing::Combine(testing::Values("pyramid.mkv", "plain.mkv", "no_cues.mkv",
                                                          "pyramid.ts", "fragmented.mp4"),
                                          testing::Values(35, 90)),
                         [](const auto& row) {
                           std::string name = std::get<0>(row.param);
                           std::replace(name.begin(), name.end(), '.', '_');
                           return name + "_" + std::to_string(std::get<1>(row.param));
                         });

// Tables in front of a film that came through in part: its last pictures are there by halves.
TEST_F(RemuxFault, AFilmThatEndsBeforeItsTablesSayIsCopiedUpToItsEnd) {
  const std::string whole = ReadWhole(MediaFile("h264_aac.mp4"));
  for (const size_t percent : {20U, 50U, 51U, 70U, 99U}) {
    film_ = folder_.File("half.mp4");
    WriteWhole(film_, whole.substr(0, whole.size() * percent / 100));
    index_ = MakeIndex(film_, folder_.File("index"));
    ASSERT_EQ(index_.status, kDone) << percent;
    ASSERT_EQ(index_.line["trouble"].asString(), "") << percent;
    std::vector<std::string> files;
    for (size_t n = 0; n < index_.Fragments(); ++n) {
      files.push_back(folder_.File(std::to_string(n) + ".ts"));
      ASSERT_EQ(RemuxFragment(film_, index_, n, "0", "1", files.back()), kDone) << percent << " " << n;
    }
    size_t pictures = 0;
    for (const std::vector<Copied>& packets : PacketsOf(files, {"v:0"})) pictures += packets.size();
    EXPECT_NEAR(static_cast<double>(pictures), 5.0 * static_cast<double>(percent), 25) << "of five hundred";
  }
}

TEST_F(RemuxFault, ADamagedPictureIsLeftOut) {
  film_ = folder_.File("damaged.mp4");
  std::string bytes = ReadWhole(MediaFile("h264_aac.mp4"));
  index_ = MakeIndex(MediaFile("h264_aac.mp4"), folder_.File("index"));
  ASSERT_EQ(index_.status, kDone);
  const auto pictures = [&] {
    WriteWhole(film_, bytes);
    EXPECT_EQ(Try(0), kDone);
    return PacketsOf({folder_.File("part.ts")}, {"v:0"})[0].size();
  };
  const std::vector<size_t> places = PlacesOfPictures(MediaFile("h264_aac.mp4"));
  const size_t all = pictures();
  ASSERT_GT(all, 100U);
  // The picture's first unit claims to be longer than the picture.
  bytes.replace(places.at(30), 4, std::string(4, '\x7F'));
  EXPECT_EQ(pictures(), all - 1);
  EXPECT_TRUE(IsMarkedWhole());
  for (const size_t place : places) bytes.replace(place, 4, std::string(4, '\x7F'));
  WriteWhole(film_, bytes);
  EXPECT_EQ(RemuxFragment(film_, index_, 0, "0", "-", folder_.File("part.ts")), kUnreadable)
      << "nothing is left";
  EXPECT_FALSE(IsMarkedWhole());
}

TEST_F(RemuxFault, AnotherFilmUnderItsNameGivesNoFragment) {
  Take("pyramid.mkv");
  fs::copy_file(CopyMedia("plain.mkv"), film_, fs::copy_options::overwrite_existing);
  EXPECT_EQ(Try(2), kUnreadable);
}

TEST_F(RemuxFault, AFragmentBegunAtNoCutIsRefused) {
  Take("pyramid.mp4");
  EXPECT_EQ(Remux(film_, index_.file, folder_.File("part.ts"), {"1/3", "-", "0", "1"}), kUsage);
  EXPECT_EQ(Remux(film_, index_.file, folder_.File("part.ts"), {"-", "-", "7", "1"}), kUsage);
  EXPECT_EQ(Remux(film_, index_.file, folder_.File("part.ts"), {"-", "-", "-", "-"}), kUsage);
  EXPECT_EQ(Remux(film_, index_.file, folder_.File("part.ts"), {"0", "-", "0", "1"}), kUsage);
}

TEST_F(RemuxFault, ADamagedIndexIsRefused) {
  Take("pyramid.mp4");
  const auto size = fs::file_size(index_.file);
  for (const auto left : {size - 1, size / 2, size / 4, size / 8, uintmax_t{1}, uintmax_t{0}}) {
    fs::resize_file(index_.file, left);
    EXPECT_EQ(Try(index_.Fragments() - 1), kUsage) << left;
  }
}

TEST_F(RemuxFault, AFullDiskIsTold) {
  Take("pyramid.mp4");
  EXPECT_EQ(RemuxFragment(film_, index_, 0, "0", "1", "/dev/full"), kNoOutput);
}

}  // namespace
}  // namespace kinora::helper
