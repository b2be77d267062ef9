// What becomes of a chunk when the helper that packs it is missing, dies, or is given something else. Scripts
// take the helper's place. Sound stands for both: no job is needed for it.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include "platform/engine/audio_fragment.h"
#include "tests/unit/platform/engine/cover.h"
#include "tests/unit/platform/engine/smooth_streams.h"
#include "tests/unit/platform/engine/zygote_process.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr char kRealHelper[] = KINORA_BUILD_DIR "/helpers/kinora-remux";

class SmoothFaults : public SmoothTest {
 protected:
  void SetUp() override {
    SmoothTest::SetUp();
    fs::create_directories(folder_ + "/started");
    fs::permissions(folder_ + "/started", fs::perms::all);  // the script has no rights of ours
    fs::copy_file(kRealHelper, folder_ + "/real");
  }
  void TearDown() override {
    cover_.reset();
    SmoothTest::TearDown();
    fs::remove_all(folder_);
  }

  // Runs before the real helper. false when nothing can be mounted here.
  bool Disturb(const std::string& script) {
    const std::string path = folder_ + "/helper";
    WriteText(path,
              "#!/bin/sh\n: >" + folder_ + "/started/$$\n" + script + "\nexec " + folder_ + "/real \"$@\"\n");
    fs::permissions(path, fs::perms(0755));
    cover_ = std::make_unique<Cover>(path, system::InTarget("libexec/kinora-remux"));
    return static_cast<bool>(*cover_);
  }
  std::ptrdiff_t Starts() const {
    return std::distance(fs::directory_iterator(folder_ + "/started"), fs::directory_iterator());
  }

  const std::string folder_ = std::string(system::kVar) + "/script";
  std::unique_ptr<Cover> cover_;
};

#define DISTURB_OR_SKIP(script) \
  if (!Disturb(script)) GTEST_SKIP() << "nothing can be mounted here"

TEST_F(SmoothFaults, AHelperThatIsKilledIsTriedOnceMore) {
  DISTURB_OR_SKIP("[ -e " + folder_ + "/started/second ] || { : >" + folder_ +
                  "/started/second; echo half >&4; kill -9 $$; }");
  ASSERT_EQ(Make(Sound(0)), FragmentOutcome::kReady);
  EXPECT_EQ(BytesOf(Path(Sound(0))).substr(4, 4), "moof") << "nothing of the first try is in it";
  EXPECT_EQ(Starts(), 3) << "two, and the mark of the first";
}

TEST_F(SmoothFaults, AHelperThatIsKilledAgainLeavesNoChunk) {
  DISTURB_OR_SKIP("echo half >&4; kill -9 $$");
  EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kFailed);
  EXPECT_EQ(Starts(), 2);
  EXPECT_THAT(Leftovers(), testing::IsEmpty());
}

TEST_F(SmoothFaults, AHelperThatCrashesIsNotTriedAgain) {
  DISTURB_OR_SKIP("echo half >&4; kill -SEGV $$");
  EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kFailed);
  EXPECT_EQ(Starts(), 1);
  EXPECT_THAT(Leftovers(), testing::IsEmpty());
  cover_.reset();
  EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kReady) << "the next request";
}

TEST_F(SmoothFaults, AHelperThatCannotWriteHasNoSpace) {
  DISTURB_OR_SKIP("echo half >&4; exit 74");
  EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kNoSpace);
  EXPECT_THAT(Leftovers(), testing::IsEmpty());
}

TEST_F(SmoothFaults, AMissingHelperGivesNoChunk) {
  fs::create_directory(folder_ + "/empty");
  cover_ = std::make_unique<Cover>(folder_ + "/empty", system::InTarget("libexec"));
  if (!*cover_) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kFailed);
  EXPECT_THAT(Leftovers(), testing::IsEmpty());
}

TEST_F(SmoothFaults, ADamagedFragmentOfSoundIsMadeAnewForTheNextRequest) {
  ASSERT_EQ(PrepareEncodedAudio(Folder(), plan_, plan_.audio.front(), 0), FragmentOutcome::kReady);
  const std::string fragment = Folder().WorkPath("a1_0.ts");
  const std::string whole = BytesOf(fragment);
  for (const std::string& damaged : {std::string(), whole.substr(0, whole.size() / 2), std::string(1880, 'x'),
                                     std::string(whole.size(), '\0')}) {
    WriteText(fragment, damaged);
    EXPECT_EQ(Make(Sound(0)), FragmentOutcome::kFailed) << damaged.size();
    ASSERT_EQ(Make(Sound(0)), FragmentOutcome::kReady) << damaged.size();
    fs::remove(Path(Sound(0)));
  }
}

TEST_F(SmoothFaults, AZygoteMakesTheSameChunksAndNothingIsExecuted) {
  FindSets();
  ASSERT_EQ(Make(Sound(0)), FragmentOutcome::kReady);
  ASSERT_EQ(Make(Picture(0)), FragmentOutcome::kReady);
  const std::string sound = BytesOf(Path(Sound(0)));
  const std::string picture = BytesOf(Path(Picture(0)));
  fs::remove(Path(Sound(0)));
  fs::remove(Path(Picture(0)));
  DISTURB_OR_SKIP("exit 70");
  const pid_t zygote = StartZygote(kRealHelper);
  ASSERT_EQ(Make(Sound(0)), FragmentOutcome::kReady);
  ASSERT_EQ(Make(Picture(0)), FragmentOutcome::kReady);
  EXPECT_TRUE(BytesOf(Path(Sound(0))) == sound && BytesOf(Path(Picture(0))) == picture);
  EXPECT_EQ(Starts(), 0);
  ::kill(zygote, SIGKILL);
  EXPECT_EQ(::waitpid(zygote, nullptr, 0), zygote);
  fs::remove_all(system::kRunFolder);
}

}  // namespace
}  // namespace kinora::engine
