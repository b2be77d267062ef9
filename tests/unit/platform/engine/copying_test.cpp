// Copied streams as the engine makes them: real films, real helpers, in a private view.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/base/file_time.h"
#include "platform/engine/copied_fragment.h"
#include "platform/engine/fragment_id.h"
#include "platform/engine/media_index.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

class Copying : public StreamsTest {
 protected:
  void SetUp() override {
    StreamsTest::SetUp();
    fs::remove_all(system::kIndexCache);
    fs::create_directories(kFilms);
  }
  void TearDown() override {
    StreamsTest::TearDown();
    fs::remove_all(system::kIndexCache);
    fs::remove_all(kFilms);
  }

  // A film of the test's own, and what is known of it.
  static SourceTraits Film(const std::string& name) {
    const std::string path = std::string(kFilms) + "/" + name;
    fs::copy_file(std::string(KINORA_COPY_MEDIA_DIR) + "/" + name, path,
                  fs::copy_options::overwrite_existing);
    SourceTraits traits;
    traits.identity = IdentityOf(path);
    traits.container = name.ends_with(".ts") ? "mpegts" : name.substr(name.rfind('.') + 1);
    traits.video.track = 0;
    traits.video.codec = "h264";
    AudioTraits audio;
    audio.track = 1;
    traits.audio = {audio};
    return traits;
  }

  static SourceIdentity IdentityOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return {path, status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size),
            base::NanosecondsOf(status.st_mtim)};
  }

  static StreamPlan PlanFor(const SourceTraits& source) {
    const CopyDecision decision = PlanCopy(source);
    EXPECT_EQ(decision.verdict, CopyVerdict::kCopies) << decision.reason;
    StreamPlan plan;
    plan.source = source;
    plan.video = VideoWay::kCopy;
    plan.grid = decision.plan.grid;
    AudioPlan audio;
    audio.track = 1;
    audio.way = AudioWay::kCopy;
    audio.is_default = true;
    plan.audio = {audio};
    return plan;
  }

  static StreamFolder NewStream() {
    const std::optional<StreamFolder> folder = StreamFolder::Open("HLS", Prepare());
    folder->MakeWorkFolder();
    return *folder;
  }

  static std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static size_t FilesIn(const std::string& folder) {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder), {}));
  }

  // Where something is kept of films.
  static std::vector<std::string> IndexFolders() {
    std::vector<std::string> folders;
    for (const auto& entry : fs::recursive_directory_iterator(system::kIndexCache)) {
      if (entry.path().filename() == "lock") folders.push_back(entry.path().parent_path());
    }
    return folders;
  }
  // The only index there is.
  static std::string IndexFile() {
    for (const auto& entry : fs::directory_iterator(IndexFolders().at(0))) {
      if (entry.path().extension().empty() && entry.path().filename() != "lock") return entry.path();
    }
    return "";
  }

  // A film without an index that is too large to be read while somebody waits: behind it comes a box of
  // nothing, which takes no place on the disk.
  static SourceTraits LargeFilm() {
    SourceTraits film = Film("fragmented.mp4");
    film.container = "mp4";
    std::ofstream(film.identity.path, std::ios::binary | std::ios::app) << std::string("\x20\0\0\0free", 8);
    fs::resize_file(film.identity.path, fs::file_size(film.identity.path) - 8 + 0x20000000);
    film.identity = IdentityOf(film.identity.path);
    return film;
  }

  static CopyDecision PlanWhenScanned(const SourceTraits& film) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    CopyDecision decision = PlanCopy(film);
    while (decision.verdict == CopyVerdict::kNotYet && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      decision = PlanCopy(film);
    }
    return decision;
  }

  // As a scan that was killed leaves it.
  static std::string Tear(const std::string& index) {
    std::string torn = ContentOf(index);
    torn.front() = '\0';
    WriteText(index + ".scan", torn);
    fs::remove(index);
    return torn;
  }

  static constexpr char kFilms[] = "/var/packages/Kinora/var/films";
};

TEST_F(Copying, PlansAtTheFilmsOwnKeyPictures) {
  for (const char* name : {"pyramid.mp4", "pyramid.mkv", "pyramid.ts"}) {
    const CopyDecision decision = PlanCopy(Film(name));
    ASSERT_EQ(decision.verdict, CopyVerdict::kCopies) << name << ": " << decision.reason;
    EXPECT_EQ(decision.plan.grid.Count(), 5) << name;
    EXPECT_EQ(decision.plan.grid.Start(0), MediaTime(0));
    EXPECT_EQ(decision.plan.frame_rate, MediaTime(25));
    EXPECT_EQ(decision.plan.codec_string, "avc1.4d400b");
    EXPECT_GT(decision.plan.peak_bitrate, 100'000);
    EXPECT_LT(decision.plan.peak_bitrate, 2'000'000);
  }
}

TEST_F(Copying, SaysWhyAFilmIsNotCopied) {
  EXPECT_EQ(PlanCopy(Film("open.mkv")).reason, "its groups of pictures are open");
  EXPECT_EQ(PlanCopy(Film("mid_group.mp4")).reason, "an edit list cuts it between its key pictures");
  SourceTraits film = Film("pyramid.mkv");
  film.video.codec = "mpeg4";
  EXPECT_EQ(PlanCopy(film).reason, "players are not given mpeg4");
  film = Film("pyramid.mkv");
  film.container = "avi";
  EXPECT_EQ(PlanCopy(film).reason, "films in avi are not cut");
  film = Film("pyramid.mkv");
  film.video.track = 1;
  EXPECT_EQ(PlanCopy(film).reason, "another picture leads it");
  film.video.track = -1;
  EXPECT_EQ(PlanCopy(film).reason, "it has no picture");
  film = Film("pyramid.mkv");
  fs::remove(film.identity.path);
  EXPECT_EQ(PlanCopy(film).verdict, CopyVerdict::kNever);
}

TEST_F(Copying, AFilmThatIsNoFilmIsRefused) {
  const SourceTraits film = Film("pyramid.mkv");
  std::ofstream(film.identity.path) << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n/etc/passwd\n";
  SourceTraits disguised = film;
  disguised.identity = IdentityOf(film.identity.path);
  EXPECT_EQ(PlanCopy(disguised).verdict, CopyVerdict::kNever);
}

TEST_F(Copying, KeepsOneIndexOfEachFilm) {
  const SourceTraits film = Film("pyramid.mkv");
  PlanCopy(film);
  const std::string folder = IndexFolders().at(0);
  EXPECT_EQ(FilesIn(folder), 2U);  // the index and its lock
  // Another film under its name: the old index goes.
  fs::copy_file(std::string(KINORA_COPY_MEDIA_DIR) + "/plain.mkv", film.identity.path,
                fs::copy_options::overwrite_existing);
  SourceTraits other = film;
  other.identity = IdentityOf(film.identity.path);
  EXPECT_EQ(PlanCopy(other).plan.grid.Count(), 4);
  EXPECT_EQ(IndexFolders(), std::vector<std::string>{folder});
  EXPECT_EQ(FilesIn(folder), 2U);
}

TEST_F(Copying, ATornIndexIsMadeAnew) {
  const SourceTraits film = Film("pyramid.mp4");
  const SegmentGrid grid = PlanCopy(film).plan.grid;
  const std::string index = IndexFile();
  const std::string whole = ContentOf(index);
  for (const std::string& torn : {std::string(), whole.substr(0, 20), std::string(whole.size(), '\0')}) {
    WriteText(index, torn);
    EXPECT_EQ(PlanCopy(film).plan.grid, grid);
    EXPECT_EQ(ContentOf(index), whole);
  }
}

// The line for whoever plans is whole, what the helper wants is not.
TEST_F(Copying, AnIndexThatIsTornBehindItsFirstLineIsMadeAnewForItsFragments) {
  const StreamPlan plan = PlanFor(Film("pyramid.mp4"));
  const StreamFolder folder = NewStream();
  ASSERT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kReady);
  const std::string fragment = ContentOf(folder.WorkPath("1.ts"));
  const std::string index = IndexFile();
  const std::string whole = ContentOf(index);
  const size_t line = whole.find('\n') + 1;
  for (const size_t length : {line, line + 1, line + 100, whole.size() - 1}) {
    for (const bool zeros : {false, true}) {
      WriteText(index, whole.substr(0, length) + std::string(zeros ? whole.size() - length : 0, '\0'));
      fs::remove(folder.WorkPath("1.ts"));
      EXPECT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kReady) << length << zeros;
      EXPECT_EQ(ContentOf(folder.WorkPath("1.ts")), fragment) << length << zeros;
    }
  }
}

TEST_F(Copying, IndexesThatNobodyUsesGo) {
  PlanCopy(Film("pyramid.mkv"));
  const auto past = fs::file_time_type::clock::now() - std::chrono::hours(24 * 40);
  const std::string folder = IndexFolders().at(0);
  for (const auto& entry : fs::directory_iterator(folder)) fs::last_write_time(entry.path(), past);
  PlanCopy(Film("plain.mkv"));
  ASSERT_EQ(IndexFolders().size(), 1U);
  EXPECT_NE(IndexFolders().front(), folder);
}

TEST_F(Copying, IndexesOfFilmsThatAreGoneGo) {
  const SourceTraits film = Film("pyramid.mkv");
  PlanCopy(film);
  const std::vector<std::string> kept = IndexFolders();
  PlanCopy(Film("plain.mkv"));
  ASSERT_EQ(IndexFolders().size(), 2U);
  KeepIndexesOf([&] { return std::vector<std::string>{film.identity.path, "/videos/new.mkv"}; });
  EXPECT_EQ(IndexFolders(), kept);
  EXPECT_THROW(KeepIndexesOf([]() -> std::vector<std::string> { throw std::runtime_error("locked"); }),
               std::runtime_error);
  EXPECT_EQ(IndexFolders(), kept);
  KeepIndexesOf([] { return std::vector<std::string>(); });
  EXPECT_TRUE(fs::is_empty(system::kIndexCache));
}

TEST_F(Copying, ALargeFilmWithoutAnIndexIsScannedInTheBackground) {
  const SourceTraits film = LargeFilm();
  EXPECT_EQ(PlanCopy(film).verdict, CopyVerdict::kNotYet);
  const CopyDecision decision = PlanWhenScanned(film);
  ASSERT_EQ(decision.verdict, CopyVerdict::kCopies) << decision.reason;
  EXPECT_EQ(decision.plan.grid.Count(), 5);
  EXPECT_EQ(FilesIn(IndexFolders().at(0)), 3U);  // the index and two locks
  const StreamFolder folder = NewStream();
  EXPECT_EQ(PrepareCopied(folder, PlanFor(film), 4), FragmentOutcome::kReady);
}

TEST_F(Copying, AScanThatWasKilledIsBegunAnew) {
  const SourceTraits film = LargeFilm();
  const SegmentGrid grid = PlanWhenScanned(film).plan.grid;
  const std::string index = IndexFile();
  Tear(index);
  EXPECT_EQ(PlanCopy(film).verdict, CopyVerdict::kNotYet);
  EXPECT_EQ(PlanWhenScanned(film).plan.grid, grid);
  EXPECT_EQ(IndexFile(), index);
}

TEST_F(Copying, OneScanOfAFilmIsAtWorkAtATime) {
  const SourceTraits film = LargeFilm();
  ASSERT_EQ(PlanWhenScanned(film).verdict, CopyVerdict::kCopies);
  const std::string index = IndexFile();
  const std::string torn = Tear(index);
  base::Descriptor at_work(::open((IndexFolders().at(0) + "/scan.lock").c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(::flock(at_work.Get(), LOCK_EX), 0);
  EXPECT_EQ(PlanCopy(film).verdict, CopyVerdict::kNotYet);
  EXPECT_EQ(ContentOf(index + ".scan"), torn);  // nobody else writes
  at_work.Reset();
  EXPECT_EQ(PlanWhenScanned(film).verdict, CopyVerdict::kCopies);
}

TEST_F(Copying, MakesAFragmentOnceAndKeepsIt) {
  const StreamPlan plan = PlanFor(Film("pyramid.mkv"));
  const StreamFolder folder = NewStream();
  ASSERT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kReady);
  struct stat before {};
  ASSERT_EQ(::stat(folder.WorkPath("1.ts").c_str(), &before), 0);
  EXPECT_EQ(before.st_size % 188, 0);
  ASSERT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kReady);
  struct stat after {};
  ASSERT_EQ(::stat(folder.WorkPath("1.ts").c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(PrepareCopied(folder, plan, -1), FragmentOutcome::kFailed);
  EXPECT_EQ(PrepareCopied(folder, plan, plan.grid.Count()), FragmentOutcome::kFailed);
}

TEST_F(Copying, MakesNoFragmentWhereTheFloorOfFreeSpaceIsReached) {
  const StreamPlan plan = PlanFor(Film("pyramid.mkv"));
  const StreamFolder folder = NewStream();
  ASSERT_EQ(PrepareCopied(folder, plan, 0), FragmentOutcome::kReady);
  WriteText(system::kSettingsFile, "free_space_floor=\"8000000T\"\n");
  EXPECT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kNoSpace);
  EXPECT_EQ(PrepareCopied(folder, plan, 0), FragmentOutcome::kReady) << "it is there";
  fs::remove(system::kSettingsFile);
  EXPECT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kReady);
}

TEST_F(Copying, MakesSoundAloneWithItsOwnName) {
  const StreamPlan plan = PlanFor(Film("pyramid.mp4"));
  const StreamFolder folder = NewStream();
  ASSERT_EQ(PrepareCopiedAudio(folder, plan, plan.audio.front(), 2), FragmentOutcome::kReady);
  EXPECT_TRUE(IsThere(folder.WorkPath("a1_2.ts")));
}

TEST_F(Copying, ATornFragmentIsMadeAnew) {
  const StreamPlan plan = PlanFor(Film("pyramid.mp4"));
  const StreamFolder folder = NewStream();
  ASSERT_EQ(PrepareCopied(folder, plan, 0), FragmentOutcome::kReady);
  const std::string path = folder.WorkPath("0.ts");
  const std::string whole = ContentOf(path);
  for (const size_t length : {size_t{0}, size_t{188}, size_t{512}, whole.size() / 2, whole.size() - 188}) {
    WriteText(path, whole.substr(0, length));
    ASSERT_EQ(PrepareCopied(folder, plan, 0), FragmentOutcome::kReady) << length;
    EXPECT_EQ(ContentOf(path), whole) << length;
  }
  WriteText(path, std::string(whole.size(), '\0'));
  ASSERT_EQ(PrepareCopied(folder, plan, 0), FragmentOutcome::kReady);
  EXPECT_EQ(ContentOf(path), whole);
}

TEST_F(Copying, AFragmentHasItsIndexMadeAnewWhereItIsGoneOrTorn) {
  const StreamPlan plan = PlanFor(Film("pyramid.mp4"));
  const StreamFolder folder = NewStream();
  const std::string index = IndexFile();
  const std::string whole = ContentOf(index);
  fs::remove(index);
  EXPECT_EQ(PrepareCopied(folder, plan, 0), FragmentOutcome::kReady);
  EXPECT_EQ(ContentOf(index), whole);
  WriteText(index, std::string(whole.size(), '\0'));
  EXPECT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kReady);
  EXPECT_EQ(ContentOf(index), whole);
}

TEST_F(Copying, AFilmThatHasChangedGivesNoFragment) {
  for (const char* change : {"removed", "replaced", "grown", "truncated"}) {
    const SourceTraits film = Film("pyramid.mkv");
    const StreamPlan plan = PlanFor(film);
    const StreamFolder folder = NewStream();
    const std::string& path = film.identity.path;
    if (change == std::string("removed")) fs::remove(path);
    if (change == std::string("replaced"))
      Film("pyramid.mkv"), fs::rename(path, path + "2"), fs::copy_file(path + "2", path);
    if (change == std::string("grown")) std::ofstream(path, std::ios::app) << "more";
    if (change == std::string("truncated")) fs::resize_file(path, fs::file_size(path) / 2);
    EXPECT_EQ(PrepareCopied(folder, plan, 1), FragmentOutcome::kGone) << change;
    EXPECT_EQ(FilesIn(folder.WorkPath("")), 0U) << change;
  }
}

TEST_F(Copying, ManyWhoWantOneFragmentGetTheSame) {
  const StreamPlan plan = PlanFor(Film("pyramid.mp4"));
  const StreamFolder folder = NewStream();
  std::vector<FragmentOutcome> outcomes(8, FragmentOutcome::kFailed);
  std::vector<std::thread> viewers;
  for (FragmentOutcome& outcome : outcomes) {
    viewers.emplace_back([&] { outcome = PrepareCopied(folder, plan, 3); });
  }
  for (std::thread& viewer : viewers) viewer.join();
  for (const FragmentOutcome outcome : outcomes) EXPECT_EQ(outcome, FragmentOutcome::kReady);
  EXPECT_EQ(FilesIn(folder.WorkPath("")), 1U);  // no scratch is left
}

TEST_F(Copying, AStreamKeepsAFewFragmentsOnly) {
  WriteText(system::kSettingsFile, "stream_quota=\"100K\"\n");
  const StreamPlan plan = PlanFor(Film("pyramid.mp4"));
  const StreamFolder folder = NewStream();
  for (int n = 0; n < plan.grid.Count(); ++n) {
    ASSERT_EQ(PrepareCopied(folder, plan, n), FragmentOutcome::kReady);
    ASSERT_EQ(PrepareCopiedAudio(folder, plan, plan.audio.front(), n), FragmentOutcome::kReady);
    EXPECT_TRUE(IsThere(folder.WorkPath(std::to_string(n) + ".ts")));
  }
  EXPECT_EQ(FilesIn(folder.WorkPath("")), 4U);
  EXPECT_EQ(PrepareCopied(folder, plan, 0), FragmentOutcome::kReady);
}

}  // namespace
}  // namespace kinora::engine
