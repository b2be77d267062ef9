#include "platform/system/volumes.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/system/places.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;

struct ChoiceCase {
  std::string name;
  std::vector<VolumeState> volumes;
  uint64_t needed;
  std::string path;  // of the choice; empty: none
  unsigned int flags;
};

class ChooseVolumeTest : public testing::TestWithParam<ChoiceCase> {};

TEST_P(ChooseVolumeTest, GivesTheEmptiestThatCanBeWrittenOrSaysWhyNot) {
  const VolumeChoice choice = ChooseVolume(GetParam().volumes, GetParam().needed);
  EXPECT_EQ(choice.volume ? choice.volume->path : "", GetParam().path);
  EXPECT_EQ(choice.flags, GetParam().flags);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ChooseVolumeTest,
    testing::Values(ChoiceCase{"None", {}, 1, "", 0}, ChoiceCase{"One", {{"/a", true, 9}}, 9, "/a", 0},
                    ChoiceCase{"OneByteShort", {{"/a", true, 9}}, 10, "", kVolumeFull},
                    ChoiceCase{"ReadOnly", {{"/a", false, 9}}, 1, "", kVolumeReadOnly},
                    ChoiceCase{"Emptiest", {{"/a", true, 5}, {"/b", true, 9}, {"/c", true, 7}}, 1, "/b", 0},
                    ChoiceCase{"FirstOfEquals", {{"/a", true, 5}, {"/b", true, 5}}, 1, "/a", 0},
                    ChoiceCase{"ReadOnlyIsNoChoice", {{"/a", true, 5}, {"/b", false, 9}}, 1, "/a", 0},
                    ChoiceCase{"FullBesideReadOnly", {{"/a", true, 5}, {"/b", false, 9}}, 7, "", kVolumeFull},
                    ChoiceCase{"NothingNeeded", {{"/a", true, 0}}, 0, "/a", 0}),
    [](const auto& parameter) { return parameter.param.name; });

class VolumeAvailGetTest : public testing::Test {
 protected:
  void SetUp() override {
    // Outside of a view these would be the places of the machine itself.
    if (std::getenv("KINORA_PLACES") == nullptr) GTEST_SKIP() << "run it through tests/with-places";
    fs::create_directories(kVar);
  }
  void TearDown() override {
    if (!IsSkipped()) Configure("");
  }

  static void Configure(const std::string& text) {
    fs::create_directories(fs::path(kSettingsFile).parent_path());
    std::ofstream(kSettingsFile) << text;
  }

  VolumeInfo volume_;
  unsigned int flags_ = 99;
};

TEST_F(VolumeAvailGetTest, GivesThePackagesFolderWithoutSettings) {
  Configure("free_space_floor=\"0\"\n");
  ASSERT_GT(VolumeAvailGet(1 << 20, 0, volume_, flags_, 0), 0);
  EXPECT_TRUE(fs::equivalent(volume_.path, kVar));
  EXPECT_GE(volume_.bytes_free, 1U << 20);
  EXPECT_EQ(flags_, 0U);
}

TEST_F(VolumeAvailGetTest, KeepsTheFloorFree) {
  struct statvfs info {};
  ASSERT_EQ(::statvfs(kVar, &info), 0);
  const uint64_t free = uint64_t{info.f_bavail} * info.f_frsize;
  Configure("free_space_floor=\"" + std::to_string(free * 2) + "\"\n");
  EXPECT_EQ(VolumeAvailGet(1, 0, volume_, flags_, 0), 0);
  EXPECT_EQ(flags_, unsigned{kVolumeFull});
}

TEST_F(VolumeAvailGetTest, SaysFullWhenNoVolumeHasTheSpace) {
  EXPECT_EQ(VolumeAvailGet(UINT64_MAX, 0, volume_, flags_, 0), 0);
  EXPECT_EQ(flags_, unsigned{kVolumeFull});
  EXPECT_EQ(volume_.path, "");
}

TEST_F(VolumeAvailGetTest, SaysReadOnlyWhenNoneCanBeWritten) {
  // Root may write everywhere but where the file system itself forbids it.
  std::string read_only;
  for (const char* path : {"/proc", "/sys", "/usr"}) {
    struct statvfs info {};
    if (::statvfs(path, &info) != 0) continue;
    const bool is_open = (info.f_flag & ST_RDONLY) == 0 && ::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0;
    if (!is_open) read_only = path;
  }
  if (read_only.empty()) GTEST_SKIP() << "root may write to every folder here";
  Configure("volumes=\"" + read_only + "\"\n");
  EXPECT_EQ(VolumeAvailGet(1, 0, volume_, flags_, 0), 0);
  EXPECT_EQ(flags_, unsigned{kVolumeReadOnly});
}

TEST_F(VolumeAvailGetTest, FailsWhenNoVolumeIsThere) {
  Configure("volumes=\"/no/such/volume\"\n");
  EXPECT_EQ(VolumeAvailGet(1, 0, volume_, flags_, 0), -1);
}

TEST_F(VolumeAvailGetTest, PassesOverAVolumeThatIsNotThereAndResolvesLinks) {
  fs::create_directories(InVar("real"));
  fs::remove(InVar("link"));
  fs::create_directory_symlink(InVar("real"), InVar("link"));
  Configure("free_space_floor=\"0\"\nvolumes=\"/no/such/volume:" + InVar("link") + "\"\n");
  ASSERT_GT(VolumeAvailGet(1, 0, volume_, flags_, 0), 0);
  EXPECT_EQ(volume_.path, fs::canonical(InVar("real")));
}

}  // namespace
}  // namespace kinora::system
