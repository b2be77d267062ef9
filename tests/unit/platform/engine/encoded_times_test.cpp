// The times of what ffmpeg makes of the arguments: exact, and the same wherever a run starts.
#include <gmock/gmock.h>

#include <cmath>

#include "platform/engine/encode_arguments.h"
#include "tests/unit/platform/engine/encoding.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kSoundAndPicture = kTransportClock / 10;

struct Film {
  const char* name;
  const char* container;
  MediaTime rate{25};
  int channels = 2;  // that go out; 0: no sound
  int frequency = 48000;
  const char* field_order = "";
  const char* hdr = "";
  int width = 160;
  int height = 90;
  MediaTime sound_ends{1000};  // media time behind which there need not be any
};

void PrintTo(const Film& film, std::ostream* out) { *out << film.name; }

StreamPlan FilmPlan(const Film& film) {
  StreamPlan plan = PlanOf(std::string(KINORA_MEDIA_DIR) + "/" + film.name, film.container);
  plan.source.video.frame_rate = film.rate;
  plan.source.video.field_order = film.field_order;
  plan.source.video.hdr = film.hdr;
  plan.picture.width = film.width;
  plan.picture.height = film.height;
  plan.picture.frame_rate = film.rate;
  plan.grid = MakeFrameGrid(film.rate, 12);
  if (film.channels == 0) plan.audio.clear();
  for (AudioPlan& audio : plan.audio) {
    audio.channels = film.channels;
    audio.frequency = film.frequency;
  }
  return plan;
}

class EncodedTimes : public testing::TestWithParam<Film> {
 protected:
  EncodedTimes() {
    std::string name = testing::TempDir() + "encoded-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~EncodedTimes() override { fs::remove_all(folder_); }

  // A run up to the film's end.
  void Encode(int first) const {
    const fs::path folder = FolderOf(first);
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::all);
    fs::permissions(folder_, fs::perms::all);
    system::Command command;
    command.arguments = JobArguments(plan_, {first, plan_.grid.Count() - 1, false});
    command.arguments.insert(command.arguments.begin(), kFfmpeg);
    const base::Descriptor source(::open(plan_.source.identity.path.c_str(), O_RDONLY | O_CLOEXEC));
    const base::Descriptor work(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    command.descriptors = {{source.Get(), 3}, {work.Get(), 4}};
    command.limits.file_size = 64U << 20;
    command.limits.address_space = 16ULL << 30;
    ASSERT_TRUE(system::RunChild(command).Succeeded()) << "from " << first;
  }

  std::vector<Packet> Packets(int first, int number) const {
    return PacketsOf(FolderOf(first) / (std::to_string(number) + ".ts"));
  }

  // One picture for each frame of the plan, the first one a key, and sound that goes along with them.
  void ExpectAsPlanned(int number, const std::vector<Packet>& packets) const {
    const auto frames = static_cast<size_t>(Floor(plan_.grid.Duration(number) / plan_.grid.unit));
    ASSERT_GE(packets.size(), frames);
    EXPECT_TRUE(packets.front().key);
    for (size_t n = 0; n < frames; ++n) {
      const MediaTime time = plan_.grid.Start(number) + plan_.grid.unit * static_cast<int64_t>(n);
      ASSERT_TRUE(packets[n].video) << n;
      ASSERT_NEAR(packets[n].time, Ticks(time), 1) << n;
    }
    if (plan_.audio.empty()) {
      ASSERT_EQ(packets.size(), frames);
    }
    if (plan_.audio.empty() || plan_.grid.End(number) > GetParam().sound_ends) return;
    ASSERT_GT(packets.size(), frames);
    ASSERT_FALSE(packets[frames].video);
    EXPECT_NEAR(packets[frames].time, packets.front().time, kSoundAndPicture);
    EXPECT_NEAR(packets.back().time, packets[frames - 1].time, kSoundAndPicture);
  }

  fs::path FolderOf(int first) const { return folder_ / std::to_string(first); }

  const StreamPlan plan_ = FilmPlan(GetParam());
  fs::path folder_;
};

TEST_P(EncodedTimes, AreThoseOfThePlanWhereverTheRunStarts) {
  ASSERT_EQ(plan_.grid.Count(), 5);
  ASSERT_NO_FATAL_FAILURE(Encode(0));
  std::vector<std::vector<Packet>> unbroken;
  for (int number = 0; number < plan_.grid.Count(); ++number) {
    SCOPED_TRACE(number);
    unbroken.push_back(Packets(0, number));
    ASSERT_NO_FATAL_FAILURE(ExpectAsPlanned(number, unbroken.back()));
  }
  for (int first = 1; first < plan_.grid.Count(); ++first) {
    ASSERT_NO_FATAL_FAILURE(Encode(first));
    for (int number = first; number < plan_.grid.Count(); ++number) {
      EXPECT_EQ(Packets(first, number), unbroken[static_cast<size_t>(number)])
          << "fragment " << number << " of a run from " << first;
    }
  }
}

const Film kFilms[] = {
    {.name = "encode_25.mkv", .container = "mkv"},
    {.name = "encode_film.mp4", .container = "mp4", .rate = {24000, 1001}, .frequency = 44100},
    {.name = "encode_ntsc.ts", .container = "mpegts", .rate = {30000, 1001}},
    {.name = "encode_ntsc.ts", .container = "mpegts", .rate = {30000, 1001}, .channels = 6},
    {.name = "encode_interlaced.ts", .container = "mpegts", .field_order = "tt"},
    {.name = "encode_program.mpg", .container = "mpeg"},
    {.name = "encode_variable.mkv", .container = "mkv"},
    {.name = "encode_odd.mkv", .container = "mkv", .channels = 0, .width = 216},
    {.name = "encode_rotated.mp4", .container = "mp4", .rate = {24000, 1001}, .width = 90, .height = 160},
    {.name = "encode_pq.mkv", .container = "mkv", .channels = 0, .hdr = "pq"},
    {.name = "encode_short_picture.mkv", .container = "mkv"},
    {.name = "encode_late_sound.mkv", .container = "mkv"},
    {.name = "encode_short_sound.mkv", .container = "mkv", .sound_ends = {5}},
};

std::string NameOf(const testing::TestParamInfo<Film>& info) {
  std::string name = info.param.name + std::to_string(info.param.channels);
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Films, EncodedTimes, testing::ValuesIn(kFilms), NameOf);

}  // namespace
}  // namespace kinora::engine
