// What the engine makes of copying helpers that die, and of films that change while they are copied. Each
// test makes an installation of its own, in which one helper is a script around the real one.
#include "tests/unit/platform/engine/installation.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

class CopyFaults : public InstallationTest {
 protected:
  void SetUp() override {
    InstallationTest::SetUp();
    film_ = folder_ + "/film.mp4";
    for (const char* name : {"kinora-index", "kinora-remux"}) {
      fs::copy_file(std::string(KINORA_BUILD_DIR) + "/helpers/" + name, Helper(name));
    }
    fs::copy_file(std::string(KINORA_COPY_MEDIA_DIR) + "/pyramid.mp4", film_);
    fs::permissions(film_, fs::perms::all);
    fs::copy_file(film_, film_ + ".new");
  }

  // Runs before the real helper, which has another name then.
  void Disturb(const std::string& name, const std::string& script) const {
    fs::rename(Helper(name), Helper(name + "-real"));
    Script(Helper(name), CountRun() + "\n" + script + "\nexec " + Helper(name + "-real") + " \"$@\"");
  }
  // Dies the first time, in the middle of the fragment.
  std::string DieOnce() const {
    return "[ -e " + folder_ + "/second ] || { : >" + folder_ + "/second; echo half >&4; kill -9 $$; }";
  }

  // The line that copy_stub prints in this installation.
  std::string Copy(const std::string& fragment = "", const std::string& zygote = "") const {
    return Run(KINORA_COPY_STUB, "'" + film_ + "' " + fragment + " " + zygote);
  }

  void Take(const std::string& film) {
    film_ = folder_ + "/" + film;
    fs::copy_file(std::string(KINORA_COPY_MEDIA_DIR) + "/" + film, film_, fs::copy_options::skip_existing);
    fs::permissions(film_, fs::perms::all);
  }
  static std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string film_;
};

TEST_F(CopyFaults, AFilmIsCopiedWhenNothingIsWrong) { EXPECT_EQ(Copy(), "ready, 1\n"); }

TEST_F(CopyFaults, AKilledHelperIsTriedOnceMore) {
  Disturb("kinora-remux", DieOnce());
  EXPECT_EQ(Copy(), "ready, 1\n");
  EXPECT_EQ(Runs(), 2);
}

TEST_F(CopyFaults, AHelperThatIsKilledAgainLeavesNoFile) {
  Disturb("kinora-remux", "echo half >&4; kill -9 $$");
  EXPECT_EQ(Copy(), "failed, 0\n");
  EXPECT_EQ(Runs(), 2);
}

TEST_F(CopyFaults, AHelperThatCrashesIsNotTriedAgain) {
  Disturb("kinora-remux", "echo half >&4; kill -SEGV $$");
  EXPECT_EQ(Copy(), "failed, 0\n");
  EXPECT_EQ(Runs(), 1);
}

TEST_F(CopyFaults, AZygoteMakesTheSameFragmentsAndNothingIsExecuted) {
  for (const std::string film : {"pyramid.mp4", "pyramid.mkv", "pyramid.ts"}) {
    Take(film);
    const std::string executed = folder_ + "/executed." + film;
    EXPECT_EQ(Copy(executed), "ready, 1\n") << film;
  }
  fs::copy_file(Helper("kinora-remux"), folder_ + "/zygote");
  Disturb("kinora-remux", "exit 70");
  for (const std::string film : {"pyramid.mp4", "pyramid.mkv", "pyramid.ts"}) {
    Take(film);
    const std::string forked = folder_ + "/forked." + film;
    EXPECT_EQ(Copy(forked, folder_ + "/zygote"), "ready, 1\n") << film;
    EXPECT_GT(ContentOf(forked).size(), 188U) << film;
    EXPECT_TRUE(ContentOf(forked) == ContentOf(folder_ + "/executed." + film)) << film;
  }
  EXPECT_EQ(Runs(), 0);
}

TEST_F(CopyFaults, AZygoteThatDiesOrGivesNoAnswerIsReplacedByExecuting) {
  Script(folder_ + "/zygote", "sleep 1");
  Disturb("kinora-remux", "");
  EXPECT_EQ(Copy("", folder_ + "/missing"), "ready, 1\n") << "it could not be started";
  EXPECT_EQ(Copy(folder_ + "/fragment", folder_ + "/zygote"), "ready, 1\n") << "it does not answer and ends";
  EXPECT_EQ(Runs(), 2);
}

TEST_F(CopyFaults, AMissingHelperIsAFailure) {
  fs::remove(Helper("kinora-remux"));
  EXPECT_EQ(Copy(), "failed, 0\n");
}

TEST_F(CopyFaults, AFilmThatShrinksMeanwhileGivesNoFragment) {
  Disturb("kinora-remux", "truncate -s 1000 " + film_);
  EXPECT_EQ(Copy(), "failed, 0\n");
}

TEST_F(CopyFaults, AFilmThatIsReplacedMeanwhileGivesNoFragment) {
  Disturb("kinora-remux", "mv -f " + film_ + ".new " + film_);
  EXPECT_EQ(Copy(), "gone, 0\n");
}

TEST_F(CopyFaults, AnIndexHelperThatIsKilledIsTriedOnceMore) {
  Disturb("kinora-index", "kill -9 $$");
  EXPECT_EQ(Copy(), "not planned: the index helper cannot tell where it can be cut\n");
  EXPECT_EQ(Runs(), 2);
}

TEST_F(CopyFaults, AnIndexThatIsNoneIsRefused) {
  for (const char* answer : {"", "{}", "[1]", "{\"indexed\":1}"}) {
    Script(Helper("kinora-index"), std::string("echo '") + answer + "'");
    EXPECT_EQ(Copy(), "not planned: the index helper cannot tell where it can be cut\n") << answer;
  }
}

TEST_F(CopyFaults, AFilmThatIsReplacedWhileItIsIndexedIsNotPlanned) {
  Disturb("kinora-index", "mv -f " + film_ + ".new " + film_);
  EXPECT_EQ(Copy(), "not planned: it is gone or another file\n");
}

}  // namespace
}  // namespace kinora::engine
