// Chunks made of fragments as ffmpeg writes them, and of what is none.
#include "helpers/remux/smooth_chunk.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"
#include "platform/base/descriptor.h"
#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {
namespace {

constexpr size_t kTransportPacket = 188;
constexpr int kPictures = 0x100;  // as ffmpeg numbers the streams
constexpr int kSound = 0x101;

uint32_t NumberAt(const std::string& bytes, size_t place) {
  uint32_t number = 0;
  for (size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<uint8_t>(bytes.at(place + i));
  return number;
}

std::string Hex(const std::string& bytes) {
  std::string digits;
  for (const char byte : bytes) {
    digits += "0123456789ABCDEF"[static_cast<uint8_t>(byte) >> 4];
    digits += "0123456789ABCDEF"[static_cast<uint8_t>(byte) & 15];
  }
  return digits;
}

// Two seconds of film at 25 pictures a second, and of sound at 48 kHz.
class SmoothChunk : public testing::Test {
 protected:
  void SetUp() override {
    av_log_set_level(AV_LOG_QUIET);
    ASSERT_NO_FATAL_FAILURE(Encode(Fragment(), Pictures(), Sound()));
    Run({"-f", "mpegts", "-i", Fragment(), "-map", "0:v", "-c", "copy", "-frames:v", "1", "-bsf:v",
         "filter_units=pass_types=7-8", "-f", "h264", folder_.File("sets")});
    sets_ = Hex(ReadWhole(folder_.File("sets")));
    ASSERT_GT(sets_.size(), 16U);
  }

  std::string Fragment() const { return folder_.File("fragment.ts"); }

  static std::vector<std::string> Pictures() {
    return {"-c:v", "libx264", "-preset", "ultrafast", "-bf", "0", "-g", "1000", "-sc_threshold", "0"};
  }
  static std::vector<std::string> Sound() { return {"-c:a", "aac", "-ac", "2", "-b:a", "64k"}; }

  static void Run(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"ffmpeg", "-nostdin", "-v", "error", "-y"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Ended ended = RunProgram(command);
    ASSERT_EQ(ended.status, 0) << ended.errors;
  }

  // Media time 0 is 90000.
  void Encode(const std::string& target, const std::vector<std::string>& pictures,
              const std::vector<std::string>& sound) const {
    std::vector<std::string> arguments = {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=2",
                                          "-f", "lavfi", "-i", "sine=sample_rate=48000:duration=2"};
    arguments.insert(arguments.end(), pictures.begin(), pictures.end());
    arguments.insert(arguments.end(), sound.begin(), sound.end());
    for (const char* argument : {"-muxdelay", "0", "-muxpreload", "0", "-avoid_negative_ts", "disabled",
                                 "-output_ts_offset", "1", "-f", "mpegts"}) {
      arguments.emplace_back(argument);
    }
    arguments.push_back(target);
    Run(arguments);
  }

  ChunkOrder Picture(int first = 0, int count = 50, const std::string& unit = "1/25") const {
    return OrderFrom({"1", std::to_string(first), std::to_string(count), unit, sets_});
  }
  static ChunkOrder Packets(int first = 0, int count = 94, const std::string& unit = "8/375") {
    return OrderFrom({"1", std::to_string(first), std::to_string(count), unit, "-"});
  }

  static std::string Make(const std::string& file, const ChunkOrder& order) {
    const base::Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(descriptor) << file;
    return MakeChunk(descriptor.Get(), order);
  }
  // Why there is no chunk.
  static std::string Refusal(const std::string& file, const ChunkOrder& order) {
    try {
      Make(file, order);
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), kUnreadable);
      return failure.what();
    }
    return "made";
  }

  std::string Changed(const std::function<void(std::string&)>& change) const {
    std::string bytes = ReadWhole(Fragment());
    change(bytes);
    WriteWhole(folder_.File("changed.ts"), bytes);
    return folder_.File("changed.ts");
  }

  ScratchFolder folder_;
  std::string sets_;
};

// Where the samples' sizes and durations stand, and that they fill the chunk.
void ExpectFilled(const std::string& chunk, uint32_t count, size_t table, size_t entries) {
  const uint32_t moof = NumberAt(chunk, 0);
  EXPECT_EQ(NumberAt(chunk, table), count);
  EXPECT_EQ(NumberAt(chunk, table + 4), moof + 8);
  uint64_t bytes = 8;
  for (uint32_t i = 0; i < count; ++i) bytes += NumberAt(chunk, entries + 8 * i + 4);
  EXPECT_EQ(NumberAt(chunk, moof), bytes);
  EXPECT_EQ(chunk.size(), moof + bytes);
}

constexpr size_t kTrackRun = 8 + 16 + 8 + 20 + 12;  // where its number of samples stands

TEST_F(SmoothChunk, HoldsThePicturesThatAreOrdered) {
  const std::string chunk = Make(Fragment(), Picture());
  ExpectFilled(chunk, 50, kTrackRun, kTrackRun + 12);
  EXPECT_EQ(NumberAt(chunk, kTrackRun + 12), 400'000U) << "a picture lasts so long";
  EXPECT_EQ(chunk.find("\x67\x42"), std::string::npos) << "no parameter sets are in it";
}

TEST_F(SmoothChunk, HoldsTheSoundWithoutWhatFillsTheDecoder) {
  const std::string chunk = Make(Fragment(), Packets());
  ExpectFilled(chunk, 94, kTrackRun, kTrackRun + 8);
  EXPECT_EQ(NumberAt(chunk, kTrackRun + 8), 213'333U);
}

TEST_F(SmoothChunk, IsMadeOfExactlyWhatIsOrdered) {
  const ChunkOrder other_sets = OrderFrom({"1", "0", "50", "1/25", "00000001674200000000016800"});
  const struct {
    ChunkOrder order;
    const char* refusal;
  } cases[] = {
      {Picture(0, 51), "the fragment ends after 50 samples"},
      {Picture(0, 49), "the fragment has more samples than are ordered"},
      {Picture(1, 50), "the fragment has a sample at 90000, not the next one"},
      {Picture(0, 50, "1001/25000"), "the fragment has a sample at 93600, not the next one"},
      {other_sets, "the fragment has a picture that is damaged or of another kind"},
      {Packets(0, 95), "the fragment ends after 94 samples"},
      {Packets(0, 93), "the fragment has more samples than are ordered"},
      {Packets(1, 93), "the fragment has a sample at 88080, not the next one"},
      {Packets(0, 94, "1024/44100"), "the fragment has sound that is damaged or of another kind"},
      {Packets(0, 94, "1/47"), "the fragment has sound that is damaged or of another kind"},
  };
  for (const auto& one : cases) EXPECT_EQ(Refusal(Fragment(), one.order), one.refusal);
}

TEST_F(SmoothChunk, IsMadeWhereTheClockStartsAnew) {
  // Behind 2^33 ticks.
  const std::string file = folder_.File("late.ts");
  Run({"-f", "mpegts", "-i", Fragment(), "-map", "0:v", "-c", "copy", "-copyts", "-output_ts_offset",
       "95443.72", "-muxdelay", "0", "-muxpreload", "0", "-f", "mpegts", file});
  EXPECT_EQ(Refusal(file, Picture(2'386'093, 50)), "made");
}

TEST_F(SmoothChunk, IsRefusedWhenThePicturesAreOutOfOrder) {
  std::vector<std::string> pictures = {"-c:v", "libx264", "-preset", "veryfast", "-bf", "2", "-an"};
  ASSERT_NO_FATAL_FAILURE(Encode(folder_.File("b.ts"), pictures, {}));
  EXPECT_EQ(Refusal(folder_.File("b.ts"), Picture()), "the fragment has pictures that are out of order");
}

TEST_F(SmoothChunk, IsRefusedWhenItStartsInTheMiddleOfAGroup) {
  const std::string file = folder_.File("middle.ts");
  Run({"-f", "mpegts", "-i", Fragment(), "-map", "0:v", "-c", "copy", "-copyts", "-bsf:v",
       "noise=drop=eq(n\\,0)", "-copyinkf", "-muxdelay", "0", "-muxpreload", "0", "-f", "mpegts", file});
  EXPECT_EQ(Refusal(file, Picture(1, 49)), "the fragment does not start with a key picture");
}

// The stream that a packet of 188 bytes belongs to.
int StreamOf(const std::string& bytes, size_t packet) {
  return static_cast<int>(NumberAt(bytes, packet * kTransportPacket) >> 8 & 0x1fff);
}

TEST_F(SmoothChunk, IsRefusedWhenTheFragmentIsNotWhole) {
  const std::string whole = ReadWhole(Fragment());
  for (const size_t length : {size_t{0}, size_t{1}, 3 * kTransportPacket, whole.size() / 2}) {
    const std::string file = Changed([length](std::string& bytes) { bytes.resize(length); });
    EXPECT_NE(Refusal(file, Picture()), "made") << length;
    EXPECT_NE(Refusal(file, Packets()), "made") << length;
  }
  // But for its last packet, which nothing announces: how long a picture is does not stand before it.
  std::map<int, int> missing;
  for (size_t packet = whole.size() / kTransportPacket - 8; packet > 7; packet -= 7) {
    const int stream = StreamOf(whole, packet);
    if (stream != kPictures && stream != kSound) continue;
    const std::string file =
        Changed([packet](std::string& bytes) { bytes.erase(packet * kTransportPacket, kTransportPacket); });
    EXPECT_NE(Refusal(file, stream == kPictures ? Picture() : Packets()), "made") << packet;
    ++missing[stream];
  }
  EXPECT_EQ(missing.size(), 2U);
}

TEST_F(SmoothChunk, IsRefusedWhenThereIsNoSuchTrackOrTwo) {
  ASSERT_NO_FATAL_FAILURE(Encode(folder_.File("mute.ts"), Pictures(), {"-an"}));
  EXPECT_EQ(Refusal(folder_.File("mute.ts"), Packets()), "the fragment ends after 0 samples");
  const std::string twice = folder_.File("twice.ts");
  Run({"-f",   "mpegts",      "-i",   Fragment(), "-map",   "0:v",  "-map",    "0:v",
       "-map", "0:a",         "-map", "0:a",      "-c",     "copy", "-copyts", "-muxdelay",
       "0",    "-muxpreload", "0",    "-f",       "mpegts", twice});
  EXPECT_EQ(Refusal(twice, Picture()), "the fragment has two tracks");
  EXPECT_EQ(Refusal(twice, Packets()), "the fragment has two tracks");
}

TEST_F(SmoothChunk, IsRefusedOfOtherFiles) {
  for (const char* name : {"h264_aac.mp4", "words.srt", "cover_frame.jpg"}) {
    EXPECT_NE(Refusal(MediaFile(name), Picture()), "made") << name;
  }
}

// The program hands the chunk over as descriptor 4.
class SmoothProgram : public SmoothChunk {
 protected:
  Ended Program(const std::string& chunk, const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {
        "/bin/bash", "-c",  R"(in=$1 out=$2; shift 2; exec "$@" 3<"$in" 4>"$out")",  "smooth",
        Fragment(),  chunk, std::string(KINORA_BUILD_DIR) + "/helpers/kinora-remux", "--smooth"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunProgram(command);
  }
};

TEST_F(SmoothProgram, WritesTheChunkOrSaysWhyNot) {
  const std::string chunk = folder_.File("chunk");
  EXPECT_EQ(Program(chunk, {"1", "0", "50", "1/25", sets_}).status, kDone);
  EXPECT_EQ(ReadWhole(chunk), Make(Fragment(), Picture()));
  const Ended refused = Program(chunk, {"1", "0", "51", "1/25", sets_});
  EXPECT_EQ(refused.status, kUnreadable);
  EXPECT_EQ(refused.errors, "the fragment ends after 50 samples\n");
  EXPECT_EQ(ReadWhole(chunk), "") << "a wrong chunk is none";
  EXPECT_EQ(Program(chunk, {"1", "0", "50", "1/25", "XX"}).status, kUsage);
  EXPECT_EQ(Program(chunk, {"1", "0", "50", "1/25"}).status, kUsage);
  EXPECT_EQ(Program("/dev/full", {"1", "0", "50", "1/25", sets_}).status, kNoOutput);
}

}  // namespace
}  // namespace kinora::helper
