#include "contract/system/hlibc.h"

#include "tests/unit/platform/system/child_fixture.h"

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
constexpr const char* kEnd = nullptr;

class HLIBCExecTest : public ChildTest {
 protected:
  // A folder with something in it, and a link to it.
  void SetUp() override {
    fs::create_directories(folder_ / "tree" / "inner");
    std::ofstream(folder_ / "tree" / "inner" / "file") << "content";
    fs::create_directory_symlink(folder_ / "tree", folder_ / "link");
  }
  bool TreeIsWhole() const { return fs::exists(folder_ / "tree" / "inner" / "file"); }
  int Remove(const std::string& name) const { return HLIBCExec("/bin/rm", "-rf", name.c_str(), kEnd); }
};

TEST_F(HLIBCExecTest, GivesTheExitStatus) {
  EXPECT_EQ(HLIBCExec(stub_.c_str(), "exit", "0", kEnd), 0);
  EXPECT_EQ(HLIBCExec(stub_.c_str(), "exit", "9", kEnd), 9);
}

TEST_F(HLIBCExecTest, IsNegativeWhenNothingRanOrASignalEndedIt) {
  EXPECT_LT(HLIBCExec(nullptr, kEnd), 0);
  EXPECT_LT(HLIBCExec("", kEnd), 0);
  EXPECT_LT(HLIBCExec((folder_ / "missing").c_str(), kEnd), 0);
  EXPECT_LT(HLIBCExec(stub_.c_str(), "abort", kEnd), 0);
}

TEST_F(HLIBCExecTest, KeepsTheOutputAwayFromTheAnswer) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(HLIBCExec(stub_.c_str(), "output", "65536", kEnd), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(HLIBCExecTest, RemovesATree) {
  EXPECT_EQ(Remove(folder_ / "tree"), 0);
  EXPECT_FALSE(fs::exists(folder_ / "tree"));
}

TEST_F(HLIBCExecTest, RemovesALinkAndNotWhatItPointsTo) {
  EXPECT_EQ(Remove(folder_ / "link"), 0);
  EXPECT_FALSE(fs::is_symlink(folder_ / "link"));
  EXPECT_TRUE(TreeIsWhole());
}

TEST_F(HLIBCExecTest, RefusesToRemoveByAnUnsafeName) {
  const std::string folder = folder_.string();
  for (const std::string& name :
       {std::string(), std::string("/"), folder + "/link/", folder + "/tree/", folder + "/tree/.",
        folder + "/tree/inner/..", folder + "/tree/../tree", std::string("tree"), std::string("-r")}) {
    EXPECT_LT(Remove(name), 0) << name;
    EXPECT_TRUE(TreeIsWhole()) << name;
  }
}

TEST_F(HLIBCExecTest, RemovesAsRootWhatOnlyRootMay) {
  if (!MaySwitchIds()) GTEST_SKIP() << "needs root and more than one id";
  ASSERT_EQ(::chmod((folder_ / "tree").c_str(), 0700), 0);
  EXPECT_EQ(InOwnProcess([this] {
              if (::setresuid(0, 12345, 12345) != 0) return 100;
              const bool refused =
                  Remove(folder_ / "tree" / "inner") > 0 && ::seteuid(0) == 0 && TreeIsWhole();
              return refused && Remove(folder_ / "tree" / "inner") == 0 ? 0 : 101;
            }),
            0);
  EXPECT_FALSE(TreeIsWhole());
}

}  // namespace
}  // namespace kinora::system
