#include "contract/system/ea_dir.h"

#include <sys/mount.h>

#include <algorithm>
#include <array>
#include <vector>

#include "platform/system/sidecars.h"
#include "tests/unit/platform/system/two_identities.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;

constexpr char kUntouched[] = "untouched";

// The answer of both calls, which must be the same; kUntouched when they fail.
std::string FolderOf(const std::string& path, int size = 4096) {
  std::array<char, 4096> first{};
  std::ranges::copy(kUntouched, first.begin());
  std::array<char, 4096> second = first;
  const bool found = libkn::critical::crvnindex::GetEADirPath(path.c_str(), first.data(), size);
  const int result = ::GetEADirPath(path.c_str(), second.data(), size);
  EXPECT_EQ(result == 0, found) << path;
  EXPECT_LE(result, 0);
  EXPECT_STREQ(first.data(), second.data());
  EXPECT_EQ(found, std::string(first.data()) != kUntouched);
  return first.data();
}

class EaDirTest : public TwoIdentitiesTest {
 protected:
  void SetUp() override {
    TwoIdentitiesTest::SetUp();
    if (IsSkipped()) return;
    film_ = Put("film.mp4", 0644);
    beside_ = folder_ / ".kinora" / "film.mp4";
  }

  // A film of the service's account.
  fs::path Put(const std::string& name, unsigned int mode) const {
    const fs::path path = folder_ / name;
    std::ofstream(path) << "film";
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    if (HasTwoIdentities()) Own(path, kService, kService);
    return path;
  }

  // Whether the film's folder is the one in the package's var folder, made as it should be.
  void ExpectSidecarOf(const fs::path& film) const {
    const fs::path sidecar = SidecarOf(film);
    EXPECT_EQ(FolderOf(film), sidecar);
    EXPECT_EQ(ModeOf(sidecar), 0700U);
    EXPECT_EQ(ModeOf(kSidecars), 0700U);
    EXPECT_EQ(fs::read_symlink(sidecar / "source"), film);
    EXPECT_EQ(StatusOf(sidecar).st_uid, HasTwoIdentities() ? kService : 0U);
  }

  fs::path film_;
  fs::path beside_;
};

TEST_F(EaDirTest, IsMadeBesideTheFileForThoseWhoMayReadIt) {
  EXPECT_EQ(FolderOf(film_), beside_);
  EXPECT_EQ(ModeOf(folder_ / ".kinora"), 0755U);
  for (const auto& [file, folder] : std::vector<std::pair<unsigned int, unsigned int>>{
           {0644, 0755}, {0640, 0750}, {0600, 0700}, {0444, 0755}, {0604, 0705}, {0, 0700}, {0755, 0755}}) {
    ASSERT_EQ(::chmod(film_.c_str(), file), 0);
    EXPECT_EQ(FolderOf(film_), beside_);
    EXPECT_EQ(ModeOf(beside_), folder) << std::oct << file;
  }
  EXPECT_FALSE(fs::exists(kSidecars));
}

TEST_F(EaDirTest, KeepsWhatLiesInIt) {
  FolderOf(film_);
  std::ofstream(beside_ / "kept") << "x";
  EXPECT_EQ(FolderOf(film_), beside_);
  EXPECT_TRUE(fs::exists(beside_ / "kept"));
}

TEST_F(EaDirTest, TakesNamesOfAnyBytesAndOfFullLength) {
  for (const std::string& name : {std::string(255, 'x'), std::string("a b\n\xff'\"%s"), std::string("..."),
                                  std::string(".kinora film.mkv")}) {
    EXPECT_EQ(FolderOf(Put(name, 0644)), folder_ / ".kinora" / name);
    EXPECT_TRUE(fs::is_directory(folder_ / ".kinora" / name));
  }
}

TEST_F(EaDirTest, IsForPlainFilesOnly) {
  fs::create_directory(folder_ / "sub");
  fs::create_symlink(film_, folder_ / "link.mp4");
  ASSERT_EQ(::mkfifo((folder_ / "fifo.mp4").c_str(), 0600), 0);
  const std::string folder = folder_;
  for (const std::string& path :
       {folder + "/missing.mp4", folder + "/sub", folder + "/sub/", folder, folder + "/link.mp4",
        folder + "/fifo.mp4", folder + "/film.mp4/", folder + "/film.mp4/x", folder + "/sub/../film.mp4",
        folder + "/./film.mp4", folder + "/.", std::string("film.mp4"), std::string(), std::string("/"),
        folder + "/" + std::string(256, 'x'), std::string(5000, '/') + "x"}) {
    EXPECT_EQ(FolderOf(path), kUntouched) << path;
  }
  EXPECT_FALSE(fs::exists(folder_ / ".kinora"));
  EXPECT_FALSE(fs::exists(kSidecars));
}

TEST_F(EaDirTest, FailsWithoutABufferThatHoldsIt) {
  const int needed = static_cast<int>(beside_.native().size()) + 1;
  for (const int size : {needed - 1, 1, 0, -1, -2147483647 - 1}) {
    EXPECT_EQ(FolderOf(film_, size), kUntouched) << size;
  }
  EXPECT_FALSE(fs::exists(folder_ / ".kinora")) << "made nothing that it could not tell";
  EXPECT_EQ(FolderOf(film_, needed), beside_);
  EXPECT_LT(::GetEADirPath(nullptr, nullptr, 4096), 0);
  std::array<char, 16> buffer{};
  EXPECT_FALSE(libkn::critical::crvnindex::GetEADirPath(nullptr, buffer.data(), buffer.size()));
  EXPECT_FALSE(libkn::critical::crvnindex::GetEADirPath(film_.c_str(), nullptr, 4096));
}

// A link to a folder, a link to nowhere, a file, a FIFO: none is followed, opened or removed.
TEST_F(EaDirTest, LiesElsewhereWhereSomethingElseWasPlanted) {
  fs::create_directory(folder_ / "target");
  const std::vector<std::function<void(const fs::path&)>> plants = {
      [this](const fs::path& at) { fs::create_directory_symlink(folder_ / "target", at); },
      [this](const fs::path& at) { fs::create_symlink(folder_ / "nowhere", at); },
      [](const fs::path& at) { std::ofstream(at) << "x"; },
      [](const fs::path& at) { ASSERT_EQ(::mkfifo(at.c_str(), 0666), 0); }};
  for (const fs::path& at : {folder_ / ".kinora", beside_}) {
    for (const auto& plant : plants) {
      fs::remove_all(folder_ / ".kinora");
      if (at == beside_) fs::create_directory(folder_ / ".kinora");
      plant(at);
      ExpectSidecarOf(film_);
      EXPECT_TRUE(fs::exists(fs::symlink_status(at)));
      EXPECT_TRUE(fs::is_empty(folder_ / "target"));
      EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
    }
  }
}

TEST_F(EaDirTest, LiesElsewhereWhereALinkLeadsToTheFile) {
  fs::create_directory(folder_ / "real");
  const fs::path film = Put("real/film.mp4", 0644);
  fs::create_directory_symlink(folder_ / "real", folder_ / "way");
  ExpectSidecarOf(folder_ / "way" / "film.mp4");
  EXPECT_FALSE(fs::exists(folder_ / "real" / ".kinora"));
}

TEST_F(EaDirTest, LiesElsewhereOnAReadOnlyShare) {
  const char* const places = std::getenv("KINORA_PLACES");
  if (std::string(places) == "real") GTEST_SKIP() << "nothing is mounted on the machine itself";
  FolderOf(film_);
  for (const bool is_there : {true, false}) {
    if (!is_there) fs::remove_all(folder_ / ".kinora");
    ASSERT_EQ(::mount(folder_.c_str(), folder_.c_str(), nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(::mount(nullptr, folder_.c_str(), nullptr,
                      MS_BIND | MS_REMOUNT | MS_RDONLY | MS_NOSUID | MS_NODEV, nullptr),
              0);
    ExpectSidecarOf(film_);
    ASSERT_EQ(::umount2(folder_.c_str(), MNT_DETACH), 0);
  }
  EXPECT_EQ(FolderOf(film_), beside_) << "and beside the file when that can be written again";
}

TEST_F(EaDirTest, FailsWhereNoFolderCanBeHad) {
  std::ofstream(folder_ / ".kinora") << "x";
  fs::create_directory(folder_ / "target");
  fs::create_directory_symlink(folder_ / "target", kSidecars);
  EXPECT_EQ(FolderOf(film_), kUntouched);
  EXPECT_TRUE(fs::is_empty(folder_ / "target"));
  fs::remove(kSidecars);
  fs::create_directory(kSidecars);
  std::ofstream(SidecarOf(film_)) << "x";
  EXPECT_EQ(FolderOf(film_), kUntouched);
}

TEST_F(EaDirTest, IsTheSameForManyWhoAskAtOnce) {
  for (const bool elsewhere : {false, true}) {
    if (elsewhere) {
      fs::remove_all(folder_ / ".kinora");
      std::ofstream(folder_ / ".kinora") << "x";
    }
    const std::string expected = elsewhere ? SidecarOf(film_) : beside_.string();
    std::vector<pid_t> askers;
    for (int i = 0; i < 12; ++i) {
      const pid_t pid = ::fork();
      if (pid == 0) ::_exit(FolderOf(film_) == expected ? 0 : 1);
      askers.push_back(pid);
    }
    for (const pid_t pid : askers) {
      int status = 1;
      ::waitpid(pid, &status, 0);
      EXPECT_EQ(status, 0) << expected;
    }
  }
}

class EaDirOwnersTest : public EaDirTest {
 protected:
  void SetUp() override {
    EaDirTest::SetUp();
    if (!IsSkipped() && !HasTwoIdentities()) GTEST_SKIP() << "needs two identities";
    if (IsSkipped()) return;
    Own(film_, kAlice, kAlicesGroup);
  }
};

TEST_F(EaDirOwnersTest, BelongsToTheFilesOwner) {
  Own(folder_, kBob, kBob);
  EXPECT_EQ(FolderOf(film_), beside_);
  EXPECT_EQ(StatusOf(beside_).st_uid, kAlice);
  EXPECT_EQ(StatusOf(beside_).st_gid, kAlicesGroup);
  EXPECT_EQ(StatusOf(folder_ / ".kinora").st_uid, kBob) << "as the folder that it lies in";
  EXPECT_EQ(StatusOf(folder_ / ".kinora").st_gid, kBob);
}

TEST_F(EaDirOwnersTest, IsTheSameWhoeverOfItsIdentitiesTheProcessWorksUnder) {
  EXPECT_TRUE(As(0, kService, kService, [this] {
    const bool found = FolderOf(film_) == beside_;
    return found && ::geteuid() == kService;
  }));
  EXPECT_EQ(StatusOf(beside_).st_uid, kAlice);
  EXPECT_TRUE(As(0, 0, kService, [this] { return FolderOf(film_) == beside_ && ::geteuid() == 0; }));
}

TEST_F(EaDirOwnersTest, LiesElsewhereForAProcessThatMayNotWriteThere) {
  Own(kVar, kService, kService);
  EXPECT_TRUE(As(kService, kService, kService, [this] { return FolderOf(film_) == SidecarOf(film_); }));
  EXPECT_FALSE(fs::exists(folder_ / ".kinora"));
  FolderOf(film_);
  EXPECT_TRUE(As(kService, kService, kService, [this] { return FolderOf(film_) == SidecarOf(film_); }))
      << "there by now, but not to be written";
  Own(kVar, 0, 0);
}

TEST_F(EaDirOwnersTest, IsMadeInItsOwnNameByAProcessThatMayWriteThere) {
  ASSERT_EQ(::chmod(folder_.c_str(), 0777), 0);
  EXPECT_TRUE(As(kService, kService, kService, [this] { return FolderOf(film_) == beside_; }));
  EXPECT_EQ(StatusOf(beside_).st_uid, kService);
  EXPECT_EQ(ModeOf(beside_), 0755U);
  EXPECT_TRUE(As(0, 0, kService, [this] { return FolderOf(film_) == beside_; })) << "one of our accounts";
}

TEST_F(EaDirOwnersTest, MayBelongToTheFilesOrTheFoldersOwnerRootOrUs) {
  Own(folder_, kBob, kBob);
  struct Case {
    uid_t all;
    uid_t own;
    bool trusted;
  };
  for (const Case& c :
       {Case{kBob, kAlice, true}, Case{kAlice, kAlice, true}, Case{kAlice, kBob, true}, Case{0, 0, true},
        Case{kService, kService, true}, Case{777, kAlice, false}, Case{kBob, 777, false}}) {
    fs::remove_all(folder_ / ".kinora");
    fs::create_directories(beside_);
    std::ofstream(beside_ / "kept") << "x";
    Own(beside_, c.own, c.own);
    Own(folder_ / ".kinora", c.all, c.all);
    const std::string expected = c.trusted ? beside_.string() : SidecarOf(film_);
    EXPECT_TRUE(As(0, 0, kService, [&] { return FolderOf(film_) == expected; })) << c.all << " " << c.own;
    EXPECT_EQ(StatusOf(beside_).st_uid, c.own) << "nothing that holds something is given away";
  }
}

TEST_F(EaDirOwnersTest, IsSetRightWhenItsMakerWasKilled) {
  fs::create_directories(beside_);
  for (const fs::path& path : {folder_ / ".kinora", beside_}) ASSERT_EQ(::chmod(path.c_str(), 0700), 0);
  EXPECT_EQ(FolderOf(film_), beside_);
  EXPECT_EQ(StatusOf(beside_).st_uid, kAlice);
  EXPECT_EQ(ModeOf(beside_), 0755U);
}

TEST_F(EaDirOwnersTest, LiesElsewhereWhereTheServiceCouldNotEnter) {
  ASSERT_EQ(::chmod(film_.c_str(), 0640), 0);
  ExpectSidecarOf(film_);
  EXPECT_FALSE(fs::exists(folder_ / ".kinora"));
  ASSERT_EQ(::chmod(film_.c_str(), 0644), 0);
  ASSERT_EQ(::chmod(folder_.c_str(), 0750), 0);
  ExpectSidecarOf(film_);
  EXPECT_FALSE(fs::exists(folder_ / ".kinora"));
  ASSERT_EQ(::chmod(folder_.c_str(), 0755), 0);
  fs::create_directories(beside_);
  Own(folder_ / ".kinora", kAlice, kAlice);
  ASSERT_EQ(::chmod((folder_ / ".kinora").c_str(), 0700), 0);
  ExpectSidecarOf(film_);
}

TEST_F(EaDirOwnersTest, LetsTheServiceInThroughItsGroups) {
  ASSERT_EQ(::chmod(film_.c_str(), 0640), 0);
  Own(film_, kAlice, 65534);
  EXPECT_EQ(FolderOf(film_), beside_);
  EXPECT_EQ(ModeOf(beside_), 0750U);
}

}  // namespace
}  // namespace kinora::system
