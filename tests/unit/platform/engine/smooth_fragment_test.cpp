// Chunks of Smooth Streaming made by real parts: ffmpeg, the supervisor, the helper.
#include "platform/engine/smooth_fragment.h"

#include <gmock/gmock.h>

#include <atomic>
#include <numeric>

#include "platform/engine/smooth_times.h"
#include "tests/unit/platform/engine/smooth_chunks.h"
#include "tests/unit/platform/engine/smooth_streams.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

// ---- films

struct Film {
  const char* name;
  const char* container;
  MediaTime rate{25};
  std::vector<int> tracks = {1};
  int channels = 2;
  bool picture = true;
  int seconds = 12;
};

void PrintTo(const Film& film, std::ostream* out) { *out << film.name; }

class SmoothFilm : public SmoothTest, public testing::WithParamInterface<Film> {
 protected:
  void SetUp() override {
    SmoothTest::SetUp();
    const Film& film = GetParam();
    plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/" + film.name, film.container, film.seconds);
    plan_.delivery = Delivery::kSmooth;
    plan_.source.video.frame_rate = film.rate;
    plan_.picture.frame_rate = film.rate;
    plan_.grid = MakeFrameGrid(film.rate, film.seconds);
    const AudioPlan audio = plan_.audio.front();
    plan_.audio.clear();
    for (const int track : film.tracks) {
      plan_.audio.push_back(audio);
      plan_.audio.back().track = track;
      plan_.audio.back().channels = film.channels;
    }
    if (film.picture) {
      FindSets();
    } else {
      plan_.video = VideoWay::kNone;
    }
  }

  std::vector<std::optional<int>> Tracks() const {
    std::vector<std::optional<int>> tracks(GetParam().tracks.begin(), GetParam().tracks.end());
    if (GetParam().picture) tracks.emplace_back();
    return tracks;
  }
  SmoothChunk Planned(const FragmentId& id) const {
    return id.audio_track ? SoundChunk(plan_.grid, 48'000, id.number) : PictureChunk(plan_.grid, id.number);
  }
  std::string HeadOf(const std::optional<int>& track) const {
    if (!track) return PictureHead(160, 90, plan_.picture.parameter_sets);
    return SoundHead(GetParam().channels, 48'000, GetParam().channels == 6 ? "11B0" : "1190");
  }

  void ExpectAsPlanned(const ChunkTable& chunk, const FragmentId& id) const {
    const SmoothChunk plan = Planned(id);
    EXPECT_EQ(chunk.sequence, static_cast<uint32_t>(id.number + 1));
    EXPECT_EQ(chunk.start, static_cast<uint64_t>(plan.start));
    EXPECT_EQ(chunk.duration, static_cast<uint64_t>(plan.duration));
    EXPECT_EQ(chunk.durations.size(), static_cast<size_t>(plan.count));
    EXPECT_EQ(std::accumulate(chunk.durations.begin(), chunk.durations.end(), uint64_t{0}), chunk.duration);
    EXPECT_EQ(chunk.starts_with_key, !id.audio_track);
  }
};

TEST_P(SmoothFilm, HasTheChunksOfItsPlanAndTheyPlay) {
  for (const std::optional<int>& track : Tracks()) {
    std::vector<std::string> paths;
    for (int n = 0; n < plan_.grid.Count(); ++n) {
      const FragmentId id{track, n};
      SCOPED_TRACE(ToText(id));
      ASSERT_EQ(Make(id), FragmentOutcome::kReady);
      paths.push_back(Path(id));
      ExpectAsPlanned(ReadChunk(paths.back()), id);
    }
    const SmoothChunk last = Planned({track, plan_.grid.Count() - 1});
    ExpectPlays(HeadOf(track), paths, static_cast<size_t>(last.first + last.count),
                Folder().Path("film.mp4"));
  }
}

class SmoothPictures : public SmoothFilm {};

// Sound has no encoder that goes on from one chunk to the next.
TEST_P(SmoothPictures, AreTheSameWhereverTheEncoderStarts) {
  std::vector<ChunkTable> unbroken;
  for (int n = 0; n < plan_.grid.Count(); ++n) {
    ASSERT_EQ(Make(Picture(n)), FragmentOutcome::kReady) << n;
    unbroken.push_back(ReadChunk(Path(Picture(n))));
  }
  EXPECT_EQ(LookAtJob(Folder()).first, 0);
  ASSERT_TRUE(EndJob(Folder()));
  id_ = NewStream();
  std::vector<int> order = {plan_.grid.Count() - 2, 1, 0};
  for (int n = 0; n < plan_.grid.Count(); ++n) order.push_back(n);
  for (const int n : order) {
    ASSERT_EQ(Make(Picture(n)), FragmentOutcome::kReady) << n;
    const ChunkTable chunk = ReadChunk(Path(Picture(n)));
    EXPECT_TRUE(chunk.IsLike(unbroken.at(static_cast<size_t>(n)))) << n << ": " << chunk;
  }
}

const Film kFilms[] = {
    {.name = "encode_25.mkv", .container = "mkv"},
    {.name = "encode_25.mkv", .container = "mkv", .rate = 50, .tracks = {}},
    {.name = "encode_film.mp4", .container = "mp4", .rate = {24000, 1001}},
    {.name = "encode_ntsc.ts", .container = "mpegts", .rate = {30000, 1001}, .channels = 6},
    {.name = "encode_variable.mkv", .container = "mkv"},
    {.name = "encode_late_sound.mkv", .container = "mkv"},
    {.name = "encode_short_sound.mkv", .container = "mkv"},
    {.name = "languages.mkv", .container = "mkv", .tracks = {1, 2}, .seconds = 8},
};
const Film kSoundAlone{
    .name = "audio_only.m4a", .container = "mp4", .tracks = {0}, .picture = false, .seconds = 5};

std::string NameOf(const testing::TestParamInfo<Film>& info) {
  const int64_t rate = Floor(info.param.rate);
  std::string name = std::string(info.param.name) + "_" + std::to_string(rate);
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Films, SmoothFilm, testing::ValuesIn(kFilms), NameOf);
INSTANTIATE_TEST_SUITE_P(SoundAlone, SmoothFilm, testing::Values(kSoundAlone), NameOf);
INSTANTIATE_TEST_SUITE_P(Films, SmoothPictures, testing::ValuesIn(kFilms), NameOf);

// ---- requests

TEST_F(SmoothTest, MakesAChunkOnceAndTellsTheJobOfEveryRequest) {
  FindSets();
  ASSERT_EQ(Make(Picture(2)), FragmentOutcome::kReady);
  const std::string made = BytesOf(Path(Picture(2)));
  ASSERT_EQ(Make(Picture(1)), FragmentOutcome::kReady);
  EXPECT_EQ(BytesOf(Folder().WorkPath("wanted")), "000001\n");
  fs::remove(FragmentPath(Folder(), 2));
  ASSERT_EQ(Make(Picture(2)), FragmentOutcome::kReady);
  EXPECT_EQ(BytesOf(Folder().WorkPath("wanted")), "000002\n");
  EXPECT_EQ(BytesOf(Path(Picture(2))), made);
  EXPECT_FALSE(Has(2)) << "nothing was encoded";
}

TEST_F(SmoothTest, ChunksOfSoundLeaveTheJobAloneAndNothingElseBehind) {
  ASSERT_EQ(Make(Sound(1)), FragmentOutcome::kReady);
  EXPECT_FALSE(IsThere(Folder().WorkPath("wanted")));
  EXPECT_FALSE(IsThere(Folder().WorkPath("a1_1.ts")));
  EXPECT_EQ(Chunks(), 1U);
  EXPECT_THAT(Leftovers(), testing::ElementsAre("a1_1.m4s"));
}

TEST_F(SmoothTest, ManyWhoWantOneChunkGetTheSame) {
  FindSets();
  for (const FragmentId& id : {Picture(1), Sound(1)}) {
    std::vector<FragmentOutcome> outcomes(8, FragmentOutcome::kFailed);
    std::vector<std::thread> requests;
    for (FragmentOutcome& outcome : outcomes) requests.emplace_back([&] { outcome = Make(id); });
    for (std::thread& request : requests) request.join();
    EXPECT_THAT(outcomes, testing::Each(FragmentOutcome::kReady)) << ToText(id);
  }
  EXPECT_THAT(Leftovers(), testing::UnorderedElementsAre("1.m4s", "a1_1.m4s"));
}

// Somebody drops the fragment as soon as it shows up, once.
TEST_F(SmoothTest, AFragmentThatIsDroppedMeanwhileIsMadeAgain) {
  const std::string fragment = Folder().WorkPath("a1_0.ts");
  std::atomic<bool> over = false;
  std::thread other([&] {
    while (!over && ::unlink(fragment.c_str()) != 0) {
    }
  });
  EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kReady);
  over = true;
  other.join();
  EXPECT_EQ(ReadChunk(Path(Sound(0))).start, 0U);
}

TEST_F(SmoothTest, AStreamKeepsAFewChunksOnly) {
  const auto now = fs::file_time_type::clock::now();
  for (int n = 1; n <= 20; ++n) {
    WriteText(Path(Sound(100 + n)), "older and older");
    fs::last_write_time(Path(Sound(100 + n)), now - std::chrono::seconds(n));
  }
  ASSERT_EQ(Make(Sound(1)), FragmentOutcome::kReady);
  EXPECT_EQ(Chunks(), 16U);
  EXPECT_TRUE(IsThere(Path(Sound(115))));
  Settings("stream_quota=\"1K\"\n");
  ASSERT_EQ(Make(Sound(2)), FragmentOutcome::kReady);
  EXPECT_EQ(Chunks(), 4U);
  EXPECT_TRUE(IsThere(Path(Sound(1))));
  EXPECT_TRUE(IsThere(Path(Sound(102))));
}

// ---- outcomes

TEST_F(SmoothTest, MakesNoChunkWhereTheFloorOfFreeSpaceIsReached) {
  ASSERT_EQ(Make(Sound(0)), FragmentOutcome::kReady);
  WriteText(system::kSettingsFile, "free_space_floor=\"8000000T\"\n");
  EXPECT_EQ(Make(Sound(1)), FragmentOutcome::kNoSpace);
  EXPECT_EQ(Make(Picture(1)), FragmentOutcome::kNoSpace);
  EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kReady) << "it is there";
}

TEST_F(SmoothTest, MakesNoPictureWhereNoJobMayStart) {
  plan_ = PlanOf(std::string(KINORA_MEDIA_DIR) + "/encode_25.mkv", "mkv", 60);
  Settings("run_ahead_seconds=\"10\"\njobs=\"1\"\n");
  const StreamFolder busy = StreamFolder::Open("HLS", NewStream()).value();
  ASSERT_EQ(PrepareByJob(busy, plan_, 0), FragmentOutcome::kReady);
  ASSERT_TRUE(Eventually([&] { return LookAtJob(busy).stopped; }));
  NoteWanted(busy, 0);  // who has not asked for long gives his encoder away
  EXPECT_EQ(Make(Picture(0)), FragmentOutcome::kNoJob);
  EXPECT_EQ(Chunks(), 0U);
}

TEST_F(SmoothTest, AFilmThatHasChangedGivesNoChunk) {
  const std::string film = std::string(system::kVar) + "/film.mkv";
  fs::copy_file(plan_.source.identity.path, film, fs::copy_options::overwrite_existing);
  plan_.source.identity = IdentityOf(film);
  ASSERT_EQ(Make(Sound(0)), FragmentOutcome::kReady);
  fs::remove(film);
  EXPECT_EQ(Make(Sound(1)), FragmentOutcome::kGone);
  EXPECT_EQ(Make(Picture(1)), FragmentOutcome::kGone);
}

TEST_F(SmoothTest, AStreamThatIsGoneGivesNoChunk) {
  const StreamFolder folder = Folder();
  ASSERT_TRUE(RemoveStream("HLS", id_));
  EXPECT_EQ(PrepareSmooth(folder, plan_, Sound(0)), FragmentOutcome::kGone);
  EXPECT_EQ(PrepareSmooth(folder, plan_, Picture(0)), FragmentOutcome::kGone);
}

TEST_F(SmoothTest, AFragmentThatIsNotAsPlannedGivesNoChunk) {
  FindSets();
  const std::string sets = plan_.picture.parameter_sets;
  plan_.picture.parameter_sets = "00000001674200000000016800";
  EXPECT_EQ(Make(Picture(0)), FragmentOutcome::kFailed) << "other parameter sets";
  plan_.picture.parameter_sets = sets;
  plan_.grid.boundaries[1] -= 1;
  EXPECT_EQ(Make(Picture(0)), FragmentOutcome::kFailed) << "a picture too many";
  plan_.grid.boundaries[1] += 1;
  EXPECT_EQ(Make(Picture(0)), FragmentOutcome::kReady);
  EXPECT_EQ(Chunks(), 1U);
}

}  // namespace
}  // namespace kinora::engine
