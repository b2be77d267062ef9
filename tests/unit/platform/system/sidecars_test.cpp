#include "platform/system/sidecars.h"

#include "platform/system/settings.h"
#include "tests/unit/platform/system/two_identities.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;

class SidecarsTest : public TwoIdentitiesTest {
 protected:
  // With a file in it.
  fs::path MakeFor(const fs::path& film) const {
    std::ofstream(film) << "film";
    const std::optional<ChildRights> service = DroppedRights(LoadSettings(kSettingsFile));
    EXPECT_TRUE(service && MakeSidecar(film, *service)) << film;
    std::ofstream(fs::path(SidecarOf(film)) / "kept") << "x";
    return SidecarOf(film);
  }
};

TEST_F(SidecarsTest, GoWithTheirFiles) {
  const fs::path gone = MakeFor(folder_ / "gone.mp4");
  fs::create_directory(folder_ / "sub");
  const fs::path gone_too = MakeFor(folder_ / "sub" / "gone.mp4");
  const fs::path stays = MakeFor(folder_ / "stays.mp4");
  fs::remove(folder_ / "gone.mp4");
  fs::remove_all(folder_ / "sub");
  RemoveSidecarsOfMissingFiles();
  EXPECT_FALSE(fs::exists(gone));
  EXPECT_FALSE(fs::exists(gone_too));
  EXPECT_TRUE(fs::exists(stays / "kept"));
  EXPECT_TRUE(fs::exists(folder_ / "stays.mp4"));
}

TEST_F(SidecarsTest, GoWithoutTheirSourceWhenTheyAreOld) {
  const fs::path young = MakeFor(folder_ / "young.mp4");
  const fs::path old = MakeFor(folder_ / "old.mp4");
  for (const fs::path& folder : {young, old}) fs::remove(folder / "source");
  fs::last_write_time(old, fs::file_time_type::clock::now() - std::chrono::hours(2));
  RemoveSidecarsOfMissingFiles();
  EXPECT_TRUE(fs::exists(young)) << "just being made";
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(SidecarsTest, AreAllThatIsRemoved) {
  MakeFor(folder_ / "film.mp4");
  const std::string digits(32, 'a');
  std::ofstream(std::string(kSidecars) + "/note") << "x";
  fs::create_directory(folder_ / "elsewhere");
  fs::create_symlink(folder_ / "nowhere", folder_ / "elsewhere" / "source");
  std::ofstream(folder_ / "elsewhere" / "kept") << "x";
  fs::create_directory_symlink(folder_ / "elsewhere", std::string(kSidecars) + "/" + digits);
  RemoveSidecarsOfMissingFiles();
  EXPECT_TRUE(fs::exists(std::string(kSidecars) + "/note"));
  EXPECT_TRUE(fs::exists(folder_ / "elsewhere" / "kept")) << "a link goes, not what it leads to";
}

TEST_F(SidecarsTest, StayWhileTheirFilesCannotBeSeen) {
  if (!HasTwoIdentities()) GTEST_SKIP() << "needs two identities";
  fs::create_directory(folder_ / "closed");
  const fs::path sidecar = MakeFor(folder_ / "closed" / "film.mp4");
  ASSERT_EQ(::chmod((folder_ / "closed").c_str(), 0700), 0);
  EXPECT_TRUE(As(kService, kService, kService, [] {
    RemoveSidecarsOfMissingFiles();
    return true;
  }));
  EXPECT_TRUE(fs::exists(sidecar / "kept"));
}

TEST_F(SidecarsTest, NeedNotExist) { EXPECT_NO_THROW(RemoveSidecarsOfMissingFiles()); }

}  // namespace
}  // namespace kinora::system
