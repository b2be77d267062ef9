// Files made to cost time or memory, and files that are cut off: a clear answer, soon, without a crash.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "helpers/common/exit_codes.h"
#include "platform/base/descriptor.h"
#include "tests/unit/helpers/box_file.h"
#include "tests/unit/helpers/copying.h"
#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {
namespace {

constexpr double kSoon = 5.0;  // of processor time; a second is usual for the worst of them
constexpr int kMostCuttingPrograms = 4;
constexpr int64_t kFiveGigabytes = 5'000'000'000;

// A fixed sequence, so that a failure can be repeated.
class Chance {
 public:
  explicit Chance(uint32_t seed) : state_(seed) {}
  uint32_t Next() { return state_ = state_ * 1664525 + 1013904223; }

 private:
  uint32_t state_;
};

// That many bytes changed, none of them behind `end`.
std::string Damaged(std::string bytes, uint32_t seed, int changes, size_t end) {
  Chance chance(seed);
  for (int i = 0; i < changes; ++i) {
    const uint32_t drawn = chance.Next();
    bytes[(drawn >> 2) % std::min(bytes.size(), end)] = static_cast<char>(drawn >> 24);
  }
  return bytes;
}

// The processor time of the children that have ended: unlike the clock it tells the same on a busy machine.
double SecondsOfChildren() {
  rusage usage{};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

class Bomb : public testing::Test {
 protected:
  std::string Put(const std::string& name, const std::string& bytes) const {
    WriteWhole(folder_.File(name), bytes);
    return folder_.File(name);
  }

  // The helper ends by itself with one of its codes; a crash or a limit's signal would be 128 and more.
  static void ExpectAnswer(const Ended& ended) {
    EXPECT_TRUE(ended.status == 0 || ended.status == 65 || ended.status == 66)
        << ended.status << " " << ended.errors;
    EXPECT_EQ(ended.status == 0, !ended.output.empty());
    EXPECT_EQ(ended.status == 0, ended.errors.empty());
  }

  static void ExpectALookSoon(const std::string& file) {
    SCOPED_TRACE(file);
    const double before = SecondsOfChildren();
    ExpectAnswer(Probe(file));
    ExpectAnswer(TakePicture(file, 320));
    EXPECT_LT(SecondsOfChildren() - before, 2 * kSoon);
  }

  // Looked at, cut, and copied.
  void ExpectAnswersSoon(const std::string& file) const {
    ExpectALookSoon(file);
    SCOPED_TRACE(file);
    const double before = SecondsOfChildren();
    ExpectNoCrashOf(CutAndCopy(file, folder_));
    EXPECT_LT(SecondsOfChildren() - before, kMostCuttingPrograms * kSoon);
  }

  // A part of the film, or the word that there is none; and no track where there is no picture, since the
  // sound may be any.
  static void ExpectNoCrashOf(const std::vector<Ended>& cutting) {
    for (const Ended& ended : cutting) {
      EXPECT_TRUE(ended.status == kDone || ended.status == kUsage || ended.status == kNoMedia ||
                  ended.status == kUnreadable)
          << ended.status << " " << ended.errors;
    }
  }

  ScratchFolder folder_;
};

TEST_F(Bomb, AnEmptyFileIsNoMediaFile) {
  const Ended ended = Probe(Put("empty.mp4", ""));
  EXPECT_EQ(ended.status, 65);
  EXPECT_EQ(ended.errors, "the file is empty\n");
}

TEST_F(Bomb, AFilmWithoutItsEndIsUnreadable) {
  const std::string film = ReadWhole(MediaFile("moov_last.mp4"));
  const Ended ended = Probe(Put("half.mp4", film.substr(0, film.size() / 2)));
  EXPECT_EQ(ended.status, 66);
  EXPECT_TRUE(ended.errors.starts_with("cannot be opened: ")) << ended.errors;
}

class BombOfAKind : public Bomb, public testing::WithParamInterface<const char*> {
 protected:
  const std::string name_ = GetParam();
  const std::string whole_ = ReadWhole(MediaFile(name_));
};
INSTANTIATE_TEST_SUITE_P(Files, BombOfAKind,
                         testing::Values("h264_aac.mp4", "h264_ac3.mkv", "mpeg4_mp3.avi", "h264_aac.ts",
                                         "mpeg2_mp2.mpg", "vp9_opus.webm", "h264_aac.flv", "wmv.asf",
                                         "theora_vorbis.ogv"),
                         [](const auto& kind) {
                           std::string name = kind.param;
                           std::replace(name.begin(), name.end(), '.', '_');
                           return name;
                         });

TEST_P(BombOfAKind, GetsAnAnswerWhenItIsCutOff) {
  for (const size_t size : {size_t{1}, size_t{16}, size_t{100}, size_t{1000}, whole_.size() / 2}) {
    ExpectAnswersSoon(Put(std::to_string(size) + name_, whole_.substr(0, size)));
  }
}

TEST_P(BombOfAKind, GetsAnAnswerWhenItIsDamaged) {
  ExpectAnswersSoon(Put(name_, Damaged(whole_, 1, 2000, 200'000)));
  // Little enough for the damage to be met deep inside.
  for (uint32_t seed = 2; seed < 4; ++seed) ExpectAnswersSoon(Put(name_, Damaged(whole_, seed, 40, 200'000)));
  ExpectAnswersSoon(Put(name_, Damaged(whole_, 6, 20, 10'000)));
}

// The tables of the film, in front of it.
TEST_F(Bomb, ATableThatIsDamagedOrCutOffGetsAnAnswer) {
  const std::string whole = ReadWhole(MediaFile("h264_aac.mp4"));
  const size_t tables = BoxAt(whole, {"moov"}).size();
  for (uint32_t seed = 1; seed < 9; ++seed) {
    ExpectAnswersSoon(Put("damaged.mp4", Damaged(whole, seed, 10, tables)));
  }
  for (size_t part = 1; part < 8; ++part)
    ExpectAnswersSoon(Put("cut.mp4", whole.substr(0, tables * part / 8)));
}

// Every time in them is a division by zero, or one by a lie.
TEST_F(Bomb, ClocksThatDoNotTickGetAnAnswer) {
  const std::string film = ReadWhole(MediaFile("moov_last.mp4"));
  const std::vector<std::vector<std::string>> heads = {{"moov", "mvhd"}, {"moov", "trak", "mdia", "mdhd"}};
  constexpr size_t kScale = 12;  // where it stands in both of them
  for (const std::vector<std::string>& path : heads) {
    for (const uint32_t scale : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
      std::string head = BoxAt(film, path);
      head.replace(kScale, 4, BigEndian32(scale));
      ExpectAnswersSoon(Put(path.back() + std::to_string(scale) + ".mp4", WithBox(film, path, head)));
    }
  }
}

TEST_F(Bomb, NoiseIsNoMediaFile) {
  std::string noise(1 << 20, '\0');
  uint32_t state = 7;
  for (char& byte : noise) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  EXPECT_NE(Probe(Put("noise.mp4", noise)).status, 0);
  ExpectAnswersSoon(Put("noise.mp4", noise));
}

// Every frame says that it is 65,500 pixels square: 13 GB when decoded.
TEST_F(Bomb, HugePicturesAreNotDecoded) {
  std::string film = ReadWhole(MediaFile("odd_size.mkv"));
  const std::string size = BigEndian16(239) + BigEndian16(317);
  int changed = 0;
  for (size_t at = 0; (at = film.find(size, at)) != std::string::npos; at += size.size(), ++changed) {
    film.replace(at, size.size(), BigEndian16(65500) + BigEndian16(65500));
  }
  ASSERT_GT(changed, 50);
  const std::string file = Put("huge.mkv", film);
  ExpectAnswersSoon(file);
  const Ended ended = TakePicture(file, 320);
  EXPECT_EQ(ended.status, 65);
  EXPECT_EQ(ended.errors, "no picture in it that can be decoded\n");
}

TEST_F(Bomb, TenThousandTracksAreRefused) {
  const std::string film = ReadWhole(MediaFile("silent.mp4"));
  const std::string moov = BoxAt(film, {"moov"});
  const std::string trak = Box("trak", BoxAt(moov, {"trak"}));
  std::string traks;
  for (int i = 0; i < 10'000; ++i) traks += trak;
  const std::string file = Put("tracks.mp4", WithBox(film, {"moov"}, moov + traks));
  ExpectAnswersSoon(file);
  EXPECT_EQ(Probe(file).status, 66);
}

TEST_F(Bomb, DeeplyNestedBoxesAreRefused) {
  std::string nested = Box("free", "");
  for (int i = 0; i < 5'000; ++i) nested = Box("moov", nested);
  const std::string file = Put("nested.mp4", Box("ftyp", "isom" + BigEndian32(0) + "isom") + nested);
  ExpectAnswersSoon(file);
  EXPECT_NE(Probe(file).status, 0);
}

TEST_F(Bomb, ATableThatClaimsToBeEndlessTakesNoMemory) {
  const std::vector<std::string> stsz = {"moov", "trak", "mdia", "minf", "stbl", "stsz"};
  const std::vector<std::string> stts = {"moov", "trak", "mdia", "minf", "stbl", "stts"};
  const std::string film = ReadWhole(MediaFile("moov_last.mp4"));
  const std::string endless = BigEndian32(0) + BigEndian32(0) + BigEndian32(0x7FFFFFFF);
  ExpectAnswersSoon(Put("stsz.mp4", WithBox(film, stsz, endless)));
  ExpectAnswersSoon(
      Put("constant.mp4", WithBox(film, stsz, BigEndian32(0) + BigEndian32(1) + BigEndian32(0x7FFFFFFF))));
  ExpectAnswersSoon(Put("stts.mp4", WithBox(film, stts, BigEndian32(0) + BigEndian32(0x7FFFFFFF))));
}

// Only the hole after the film grows; what costs is what is read.
TEST_F(Bomb, AFileOfFiveGigabytesCostsLittle) {
  for (const char* name : {"h264_aac.mp4", "h264_ac3.mkv", "h264_aac.ts", "mpeg2_mp2.mpg", "mpeg4_mp3.avi"}) {
    SCOPED_TRACE(name);
    const std::string file = Put(name, ReadWhole(MediaFile(name)));
    if (::truncate(file.c_str(), kFiveGigabytes) != 0) GTEST_SKIP() << "no sparse files here";
    ExpectALookSoon(file);
    const Ended ended = Probe(file);
    ASSERT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(Parse(ended.output)["size"].asInt64(), kFiveGigabytes);
  }
}

TEST_F(Bomb, FiveGigabytesOfNothingAreNoMediaFile) {
  const std::string file = Put("zeros.mkv", "");
  if (::truncate(file.c_str(), kFiveGigabytes) != 0) GTEST_SKIP() << "no sparse files here";
  ExpectAnswersSoon(file);
  EXPECT_EQ(Probe(file).status, 65);
}

TEST_F(Bomb, TextThatIsNotUtf8IsMadeUtf8) {
  std::string film = ReadWhole(MediaFile("h264_ac3.mkv"));
  const std::string title =
      "Gr\xC3\xBC\xC3\x9F"
      "e";
  ASSERT_NE(film.find(title), std::string::npos);
  film.replace(film.find(title), title.size(), "Gr\xFC\xFF\x01\"e");
  const Ended ended = Probe(Put("title.mkv", film));
  ASSERT_EQ(ended.status, 0) << ended.errors;
  EXPECT_EQ(Parse(ended.output)["title"].asString(), "Gr\uFFFD\uFFFD\x01\"e");
}

}  // namespace
}  // namespace kinora::helper
