#include "tests/unit/platform/engine/smooth_chunks.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>

#include "tests/unit/helpers/box_file.h"
#include "tests/unit/helpers/helper_process.h"

namespace kinora::engine {
namespace {

using helper::BigEndian16;
using helper::BigEndian32;
using helper::Box;
using helper::BoxAt;
using helper::RunProgram;

using namespace std::string_literals;

constexpr uint32_t kClock = 10'000'000;
const std::string kTimeBox = "\x6d\x1d\x9b\x05\x42\xd5\x44\xe6\x80\xe2\x14\x1d\xaf\xf7\x57\xb2\1\0\0\0"s;

std::string Zeros(size_t count) { return std::string(count, '\0'); }

uint64_t NumberAt(const std::string& bytes, size_t place, size_t size = 4) {
  uint64_t number = 0;
  for (size_t i = 0; i < size; ++i) number = number << 8 | static_cast<uint8_t>(bytes.at(place + i));
  return number;
}

std::string BytesOf(const std::string& digits) {
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

const std::string& Matrix() {
  static const std::string matrix =
      BigEndian32(0x10000) + Zeros(12) + BigEndian32(0x10000) + Zeros(12) + BigEndian32(0x40000000);
  return matrix;
}

// A film with one track and no samples; `entry` describes the samples to come.
std::string Head(bool picture, const std::string& entry) {
  const std::string handler = picture ? "vide" : "soun";
  const std::string media_head = picture ? Box("vmhd", "\0\0\0\1"s + Zeros(8)) : Box("smhd", Zeros(8));
  const std::string no_samples =
      Box("stts", Zeros(8)) + Box("stsc", Zeros(8)) + Box("stsz", Zeros(12)) + Box("stco", Zeros(8));
  const std::string table = Box("stbl", Box("stsd", Zeros(4) + BigEndian32(1) + entry) + no_samples);
  const std::string data = Box("dinf", Box("dref", Zeros(4) + BigEndian32(1) + Box("url ", "\0\0\0\1"s)));
  const std::string media =
      Box("mdia", Box("mdhd", Zeros(12) + BigEndian32(kClock) + Zeros(4) + BigEndian16(0x55c4) + Zeros(2)) +
                      Box("hdlr", Zeros(8) + handler + Zeros(13)) + Box("minf", media_head + data + table));
  const std::string track_head =
      Box("tkhd", "\0\0\0\7"s + Zeros(8) + BigEndian32(1) + Zeros(24) + Matrix() + Zeros(8));
  const std::string film =
      Box("mvhd", Zeros(12) + BigEndian32(kClock) + Zeros(4) + BigEndian32(0x10000) + BigEndian16(0x100) +
                      Zeros(10) + Matrix() + Zeros(24) + BigEndian32(2));
  const std::string extends =
      Box("mvex", Box("trex", Zeros(4) + BigEndian32(1) + BigEndian32(1) + Zeros(12)));
  return Box("ftyp", "isom" + BigEndian32(0) + "isom") +
         Box("moov", film + Box("trak", track_head + media) + extends);
}

std::string Descriptor(char tag, const std::string& content) {
  return std::string(1, tag) + static_cast<char>(content.size()) + content;
}

}  // namespace

bool ChunkTable::IsLike(const ChunkTable& other) const {
  return sequence == other.sequence && start == other.start && duration == other.duration &&
         starts_with_key == other.starts_with_key && durations == other.durations;
}

std::ostream& operator<<(std::ostream& out, const ChunkTable& chunk) {
  return out << "chunk " << chunk.sequence << " from " << chunk.start << ", " << chunk.duration << " long, "
             << chunk.durations.size() << " samples";
}

ChunkTable ReadChunk(const std::string& path) {
  const std::string bytes = helper::ReadWhole(path);
  ChunkTable chunk;
  const std::string run = BoxAt(bytes, {"moof", "traf", "trun"});
  const std::string times = BoxAt(bytes, {"moof", "traf", "uuid"});
  EXPECT_EQ(bytes.substr(4, 4), "moof") << path;
  EXPECT_TRUE(times.starts_with(kTimeBox)) << path;
  chunk.sequence = static_cast<uint32_t>(NumberAt(BoxAt(bytes, {"moof", "mfhd"}), 4));
  chunk.start = NumberAt(times, kTimeBox.size(), 8);
  chunk.duration = NumberAt(times, kTimeBox.size() + 8, 8);
  chunk.starts_with_key = NumberAt(run, 0) == 0x305;
  const uint64_t count = NumberAt(run, 4);
  size_t place = chunk.starts_with_key ? 16 : 12;
  for (uint64_t i = 0; i < count; ++i, place += 8) {
    chunk.durations.push_back(static_cast<uint32_t>(NumberAt(run, place)));
    chunk.sizes.push_back(static_cast<uint32_t>(NumberAt(run, place + 4)));
  }
  const uint64_t samples = std::accumulate(chunk.sizes.begin(), chunk.sizes.end(), uint64_t{0});
  EXPECT_EQ(NumberAt(run, 8) + samples, bytes.size()) << path;
  EXPECT_EQ(BoxAt(bytes, {"mdat"}).size(), samples) << path;
  return chunk;
}

std::string PictureHead(int width, int height, const std::string& parameter_sets) {
  const std::string code = "\0\0\0\1"s;
  const std::string sets = BytesOf(parameter_sets);
  const size_t second = sets.find(code, code.size());
  const std::string sequence = sets.substr(code.size(), second - code.size());
  const std::string picture = sets.substr(second + code.size());
  const auto size = [](const std::string& set) { return BigEndian16(static_cast<uint16_t>(set.size())); };
  const std::string configuration = "\1"s + sequence.substr(1, 3) + "\xff\xe1"s + size(sequence) + sequence +
                                    "\1"s + size(picture) + picture;
  return Head(
      true, Box("avc1", Zeros(6) + BigEndian16(1) + Zeros(16) + BigEndian16(static_cast<uint16_t>(width)) +
                            BigEndian16(static_cast<uint16_t>(height)) + BigEndian32(0x480000) +
                            BigEndian32(0x480000) + Zeros(4) + BigEndian16(1) + Zeros(32) + BigEndian16(24) +
                            BigEndian16(0xffff) + Box("avcC", configuration)));
}

std::string SoundHead(int channels, int frequency, const std::string& configuration) {
  const std::string decoder = Descriptor(4, "\x40\x15"s + Zeros(11) + Descriptor(5, BytesOf(configuration)));
  const std::string stream = Descriptor(3, Zeros(3) + decoder + Descriptor(6, "\2"));
  return Head(false, Box("mp4a", Zeros(6) + BigEndian16(1) + Zeros(8) +
                                     BigEndian16(static_cast<uint16_t>(channels)) + BigEndian16(16) +
                                     Zeros(4) + BigEndian32(static_cast<uint32_t>(frequency) << 16) +
                                     Box("esds", Zeros(4) + stream)));
}

void ExpectPlays(const std::string& head, const std::vector<std::string>& chunks, size_t samples,
                 const std::string& scratch) {
  std::string film = head;
  for (const std::string& chunk : chunks) film += helper::ReadWhole(chunk);
  helper::WriteWhole(scratch, film);
  const helper::Ended found = RunProgram({"ffprobe", "-v", "error", "-count_packets", "-show_entries",
                                          "stream=nb_read_packets", "-of", "csv=p=0", scratch});
  EXPECT_EQ(found.output, std::to_string(samples) + "\n") << found.errors;
  const helper::Ended decoded =
      RunProgram({"ffmpeg", "-nostdin", "-v", "warning", "-xerror", "-i", scratch, "-f", "null", "-"});
  EXPECT_EQ(decoded.status, 0);
  EXPECT_EQ(decoded.errors, "");
  std::filesystem::remove(scratch);
}

}  // namespace kinora::engine
