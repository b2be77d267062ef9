// What the engine makes of copying helpers that die, and of films that change while they are copied. Each
// test makes an installation of its own, in which one helper is a script around the real one.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

class CopyFaults : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(::mkdtemp(folder_.data()), nullptr);
    film_ = folder_ + "/film.mp4";
    fs::permissions(folder_, fs::perms::all);  // the script has no rights of ours
    fs::create_directories(folder_ + "/target/libexec");
    for (const char* name : {"kinora-index", "kinora-remux"}) {
      fs::copy_file(std::string(KINORA_BUILD_DIR) + "/helpers/" + name, Helper(name));
    }
    fs::copy_file(std::string(KINORA_COPY_MEDIA_DIR) + "/pyramid.mp4", film_);
    fs::permissions(film_, fs::perms::all);
    fs::copy_file(film_, film_ + ".new");
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Helper(const std::string& name) const { return folder_ + "/target/libexec/" + name; }

  // Runs before the real helper, which has another name then.
  void Disturb(const std::string& name, const std::string& script) const {
    fs::rename(Helper(name), Helper(name + "-real"));
    std::ofstream(Helper(name)) << "#!/bin/sh\n: >" << folder_ << "/run.$$\n"
                                << script << "\nexec " << Helper(name + "-real") << " \"$@\"\n";
    ASSERT_EQ(::chmod(Helper(name).c_str(), 0755), 0);
  }
  // Dies the first time, in the middle of the fragment.
  std::string DieOnce() const {
    return "[ -e " + folder_ + "/second ] || { : >" + folder_ + "/second; echo half >&4; kill -9 $$; }";
  }
  std::ptrdiff_t Runs() const {
    return std::count_if(fs::directory_iterator(folder_), {}, [](const fs::directory_entry& entry) {
      return entry.path().filename().string().starts_with("run.");
    });
  }

  // The line that copy_stub prints in this installation.
  std::string Copy(const std::string& fragment = "", const std::string& zygote = "") const {
    const std::string command = std::string(KINORA_SOURCE_DIR) + "/tests/with-places '" + folder_ +
                                "/target' " + KINORA_COPY_STUB + " '" + film_ + "' " + fragment + " " +
                                zygote + " 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string output;
    std::array<char, 4096> buffer{};
    for (size_t got; (got = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;) {
      output.append(buffer.data(), got);
    }
    return output;
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

  // Not in the build: the script must be able to walk there, too.
  std::string folder_ = fs::temp_directory_path() / "faults.XXXXXX";
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
  std::ofstream(folder_ + "/zygote") << "#!/bin/sh\nsleep 1\n";
  ASSERT_EQ(::chmod((folder_ + "/zygote").c_str(), 0755), 0);
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
    fs::remove(Helper("kinora-index"));
    std::ofstream(Helper("kinora-index")) << "#!/bin/sh\necho '" << answer << "'\n";
    ASSERT_EQ(::chmod(Helper("kinora-index").c_str(), 0755), 0);
    EXPECT_EQ(Copy(), "not planned: the index helper cannot tell where it can be cut\n") << answer;
  }
}

TEST_F(CopyFaults, AFilmThatIsReplacedWhileItIsIndexedIsNotPlanned) {
  Disturb("kinora-index", "mv -f " + film_ + ".new " + film_);
  EXPECT_EQ(Copy(), "not planned: it is gone or another file\n");
}

}  // namespace
}  // namespace kinora::engine
