// What a chunk of Smooth Streaming is put together from.
#include <gtest/gtest.h>

#include "helpers/common/exit_codes.h"
#include "helpers/common/media_input.h"
#include "helpers/remux/adts.h"
#include "helpers/remux/smooth_boxes.h"
#include "helpers/remux/smooth_order.h"
#include "helpers/remux/smooth_samples.h"

namespace kinora::helper {
namespace {

using namespace std::string_literals;

std::string Hex(std::string_view bytes) {
  std::string digits;
  for (const char byte : bytes) {
    digits += "0123456789abcdef"[static_cast<uint8_t>(byte) >> 4];
    digits += "0123456789abcdef"[static_cast<uint8_t>(byte) & 15];
  }
  return digits;
}

// ---- the order

constexpr char kSets[] = "0000000167640000000168EB";

ChunkOrder Order(const std::string& first, const std::string& count, const std::string& unit,
                 const std::string& sets = "-") {
  return OrderFrom({"1", first, count, unit, sets});
}

TEST(ChunkOrder, TellsWhenItsSamplesAre) {
  const struct {
    const char* unit;
    int64_t sample;
    int64_t tick;
    int64_t transport;
  } cases[] = {
      {"1/25", 0, 0, 90'000},
      {"1/25", 25, 10'000'000, 180'000},
      {"1001/24000", 1, 417'083, 93'754},
      {"1001/24000", 2, 834'167, 97'508},
      {"1001/24000", 24, 10'010'000, 180'090},
      {"1/2", 1, 5'000'000, 135'000},
      {"1/20000000", 1, 1, 90'000},  // the middle between two ticks belongs to the later one
      {"8/375", 1, 213'333, 91'920},
      {"8/375", -1, -213'333, 88'080},
      {"1024/44100", 1, 232'200, 92'090},
      {"1/1000", 3'600'000'000, 36'000'000'000'000, 324'000'090'000},
  };
  for (const auto& one : cases) {
    const ChunkOrder order = Order("0", "1", one.unit);
    EXPECT_EQ(order.TickOf(one.sample), one.tick) << one.unit << " " << one.sample;
    EXPECT_EQ(order.TransportTime(one.sample), one.transport) << one.unit << " " << one.sample;
  }
}

TEST(ChunkOrder, KnowsTheFrequencyOfItsSound) {
  EXPECT_EQ(Order("0", "1", "8/375").Frequency(), 48'000);
  EXPECT_EQ(Order("0", "1", "1024/44100").Frequency(), 44'100);
  EXPECT_EQ(Order("0", "1", "1001/24000").Frequency(), 0);
  EXPECT_EQ(Order("0", "1", "1/2147483648").Frequency(), 0);
}

TEST(ChunkOrder, IsReadFromItsArguments) {
  const ChunkOrder order = OrderFrom({"12", "1100", "100", "1/25", kSets});
  EXPECT_EQ(order.sequence, 12U);
  EXPECT_EQ(order.first, 1100);
  EXPECT_EQ(order.count, 100);
  ASSERT_TRUE(order.picture);
  EXPECT_EQ(order.picture->Count(), 2U);
  EXPECT_FALSE(OrderFrom({"12", "1100", "100", "1/25", "-"}).picture);
}

TEST(ChunkOrder, IsRefusedWhenItMakesNoSense) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"1", "0", "1", "1/25"},
      {"1", "0", "1", "1/25", "-", "-"},
      {"0", "0", "1", "1/25", "-"},
      {"4294967296", "0", "1", "1/25", "-"},
      {"x", "0", "1", "1/25", "-"},
      {"1", "-1", "1", "1/25", "-"},
      {"1", "0", "0", "1/25", "-"},
      {"1", "0", "100001", "1/25", "-"},
      {"1", "0", "1", "0/25", "-"},
      {"1", "0", "1", "1/0", "-"},
      {"1", "0", "1", "25", "-"},
      {"1", "0", "1", "101/1", "-"},        // one sample of 101 seconds
      {"1", "90000000", "1", "1/25", "-"},  // behind 1,000 hours
      {"1", "0", "1", "1/25", ""},
      {"1", "0", "1", "1/25", "0000000167"},
      {"1", "0", "1", "1/25", "0000000168EB0000000167640"},
      {"1", "0", "1", "1/25", "0000000168EB000000016764"},  // the wrong way round
      {"1", "0", "1", "1/25", "000000016764000000016XEB"},
      {"1", "0", "1", "1/25", "FF0000000167640000000168EB"},
      {"1", "0", "1", "1/25", std::string(4096, '0')},
  };
  for (const std::vector<std::string>& arguments : cases) {
    try {
      OrderFrom(arguments);
      ADD_FAILURE() << testing::PrintToString(arguments);
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), kUsage);
    }
  }
}

// ---- the boxes

TEST(ChunkHead, IsThatOfPictures) {
  const ChunkHead head{7, true, 10'000'000, 834'167, {{417'083, 0x1234}, {417'084, 0x56}}};
  EXPECT_EQ(Hex(WriteHead(head)),
            "00000088"
            "6d6f6f66"  // moof
            "00000010"
            "6d666864"
            "00000000"
            "00000007"  // mfhd
            "00000070"
            "74726166"  // traf
            "00000014"
            "74666864"
            "00000020"
            "00000001"
            "01010000"  // tfhd
            "00000028"
            "7472756e"
            "00000305"
            "00000002"
            "00000090"
            "02000000"  // trun
            "00065d3b"
            "00001234"
            "00065d3c"
            "00000056"
            "0000002c"
            "75756964"
            "6d1d9b0542d544e680e2141daff757b2"
            "01000000"  // tfxd
            "0000000000989680"
            "00000000000cba77"
            "00001292"
            "6d646174");  // mdat
}

TEST(ChunkHead, IsThatOfSound) {
  const ChunkHead head{1, false, 0, 213'333, {{213'333, 3}}};
  EXPECT_EQ(Hex(WriteHead(head)),
            "0000007c"
            "6d6f6f66"
            "00000010"
            "6d666864"
            "00000000"
            "00000001"
            "00000064"
            "74726166"
            "00000014"
            "74666864"
            "00000020"
            "00000001"
            "02000000"
            "0000001c"
            "7472756e"
            "00000301"
            "00000001"
            "00000084"
            "00034155"
            "00000003"
            "0000002c"
            "75756964"
            "6d1d9b0542d544e680e2141daff757b2"
            "01000000"
            "0000000000000000"
            "0000000000034155"
            "0000000b"
            "6d646174");
}

TEST(ChunkHead, HasTimesBeyondThirtyTwoBits) {
  const std::string head = WriteHead({1, false, 36'000'000'000'000, 1, {{1, 1}}});
  EXPECT_NE(Hex(head).find("000020bde7364000"
                           "0000000000000001"),
            std::string::npos)
      << Hex(head);
}

// ---- pictures

const std::string kCode = "\0\0\0\1"s;
const std::string kDelimiter = "\x09\xf0"s;
const std::string kSps = "\x67\x64"s;
const std::string kPps = "\x68\xeb"s;
const std::string kInformation = "\x06\x05"s;
const std::string kKey = "\x65\x88\x80"s;
const std::string kSlice = "\x41\x9a"s;

ParameterSets Sets() { return ParameterSets::From(kSets).value(); }

TEST(PictureSample, HasLengthsInsteadOfStartCodesAndNoParameterSets) {
  const struct {
    std::string unit;
    std::string sample;
    bool key;
    size_t sets;
  } cases[] = {
      {kCode + kDelimiter + kCode + kSps + kCode + kPps + kCode + kInformation + kCode + kKey,
       "\0\0\0\2"s + kInformation + "\0\0\0\3"s + kKey, true, 2},
      {"\0\0\1"s + kSlice, "\0\0\0\2"s + kSlice, false, 0},
      {"\0\0\0\0\0\1"s + kSlice + "\0\0"s, "\0\0\0\2"s + kSlice, false, 0},  // zeros around it
      {kCode + kSlice + "\0\0\1"s + kSlice, "\0\0\0\2"s + kSlice + "\0\0\0\2"s + kSlice, false, 0},
      {kCode + kSps + kCode + kSlice, "\0\0\0\2"s + kSlice, false, 1},
      {kCode + std::string(70'000, 'A'), "\0\1\x11\x70"s + std::string(70'000, 'A'), false, 0},
  };
  for (const auto& one : cases) {
    const auto sample = MakePictureSample(one.unit, Sets());
    ASSERT_TRUE(sample) << Hex(one.unit.substr(0, 64));
    EXPECT_EQ(Hex(sample->bytes), Hex(one.sample));
    EXPECT_EQ(sample->key, one.key);
    EXPECT_EQ(sample->sets, one.sets);
  }
}

TEST(PictureSample, IsNoneOfWhatIsNoPictureOrOneOfAnotherKind) {
  const std::string cases[] = {
      "",
      kSlice,  // no start code
      "\0\0\0"s,
      "x"s + kCode + kSlice,  // something before the first one
      kCode,                  // nothing behind it
      kCode + kCode + kSlice,
      kCode + "\0"s,
      kCode + "\xe5\x88"s,  // the forbidden bit
      kCode + kDelimiter,   // no picture in it
      kCode + kDelimiter + kCode + kSps + kCode + kPps,
      kCode + kInformation,
      kCode + "\x67\x65"s + kCode + kPps + kCode + kKey,
      kCode + kSps + kCode + "\x68\xec"s + kCode + kKey,
      kCode + kSlice + kCode + "\x67\x65"s,
  };
  for (const std::string& unit : cases) EXPECT_FALSE(MakePictureSample(unit, Sets())) << Hex(unit);
}

// ---- sound

// A packet of 48 kHz stereo, low complexity, with that many bytes behind its header.
std::string Adts(const std::string& content, const std::string& start = "\xff\xf1\x4c\x80"s) {
  const size_t whole = content.size() + 7;
  std::string header = start;
  header[3] = static_cast<char>(header[3] | static_cast<char>(whole >> 11));
  header += static_cast<char>(whole >> 3);
  header += static_cast<char>(whole << 5 | 0x1f);
  header += '\xfc';
  return header + content;
}

TEST(Adts, TellsWhatFollows) {
  const auto header = ReadAdts(Adts("sound"));
  ASSERT_TRUE(header);
  EXPECT_EQ(header->rate, 48'000);
  EXPECT_EQ(header->profile, 1);
  EXPECT_EQ(header->size, 7U);
  EXPECT_EQ(header->whole, 12U);
  EXPECT_FALSE(header->several);
  EXPECT_EQ(ReadAdts(Adts("sound", "\xff\xf0\x4c\x80"s))->size, 9U) << "with a checksum";
  EXPECT_EQ(ReadAdts(Adts("sound", "\xff\xf1\x7c\x80"s))->rate, 0) << "an index that is not used";
  EXPECT_EQ(ReadAdts(Adts(std::string(8000, 's')))->whole, 8007U);
  for (const std::string& none :
       {""s, "\xff\xf1\x4c\x80\x01\x9f"s, Adts("", "\xff\xf3\x4c\x80"s), Adts("", "\xfe\xf1\x4c\x80"s)}) {
    EXPECT_FALSE(ReadAdts(none)) << Hex(none);
  }
}

TEST(SplitSound, GivesThePacketsWithoutTheirHeaders) {
  // The last one has a checksum behind its header.
  const std::string bytes = Adts("one") + Adts("second") + Adts("..third", "\xff\xf0\x4c\x80"s);
  const auto packets = SplitSound(bytes, 48'000);
  ASSERT_TRUE(packets);
  EXPECT_EQ(*packets, (std::vector<std::string_view>{"one", "second", "third"}));
}

TEST(SplitSound, IsNothingWhenThereIsAnythingElse) {
  const std::string cases[] = {
      "x",
      Adts("one") + "x",
      "x" + Adts("one"),
      Adts("one").substr(0, 9),  // cut off
      Adts("one") + Adts("second").substr(0, 5),
      Adts(""),                          // nothing in it
      Adts("one", "\xff\xf1\x50\x80"s),  // 44.1 kHz
      Adts("one", "\xff\xf1\x8c\x80"s),  // another profile
  };
  for (const std::string& bytes : cases) EXPECT_FALSE(SplitSound(bytes, 48'000)) << Hex(bytes);
  std::string several = Adts("one");
  several[6] = '\xfd';
  EXPECT_FALSE(SplitSound(several, 48'000));
}

}  // namespace
}  // namespace kinora::helper
