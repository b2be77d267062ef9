// Sections as root of a process that is the service's account otherwise, with real identities.
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include "library/if_run_as_root.h"
#include "library/subtitle/cache_file.h"
#include "library/subtitle/output_subtitle.h"
#include "tests/fakes/subtitle_test.h"

namespace crvnkn::webapi {
namespace {

namespace fs = std::filesystem;
using subtitle::OutputSubtitle;

constexpr uid_t kService = 65534;
constexpr uid_t kOwner = 12345;
constexpr uid_t kStranger = 12346;

class TwoIdentitiesTest : public kinora::fakes::SubtitleTest {
 protected:
  void SetUp() override {
    const char* const places = std::getenv("KINORA_PLACES");
    if (places == nullptr || std::string(places) == "user" || ::geteuid() != 0)
      GTEST_SKIP() << "root with two identities is needed";
  }

  // The work in a process that has these ids; it fails when an expectation in it does.
  static void Run(uid_t real, uid_t effective, const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
      if (::setgroups(0, nullptr) != 0 || ::setresgid(real, effective, effective) != 0 ||
          ::setresuid(real, effective, effective) != 0) {
        ::_exit(2);
      }
      work();
      std::fflush(nullptr);
      ::_exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  static void RunAsService(const std::function<void()>& work) { Run(0, kService, work); }

  static std::array<uid_t, 6> Ids() {
    std::array<uid_t, 6> ids{};
    ::getresuid(&ids[0], &ids[1], &ids[2]);
    ::getresgid(&ids[3], &ids[4], &ids[5]);
    return ids;
  }
  static constexpr std::array<uid_t, 6> kServiceIds{0, kService, kService, 0, kService, kService};
  static constexpr std::array<uid_t, 6> kRootIds{0, 0, kService, 0, 0, kService};
};

TEST_F(TwoIdentitiesTest, ASectionAsRootIsEnteredAndLeft) {
  RunAsService([] {
    {
      const IfRunAsRoot root("some/unit", 42);
      EXPECT_TRUE(root);
      EXPECT_EQ(Ids(), kRootIds);
    }
    EXPECT_EQ(Ids(), kServiceIds);
    try {
      const IfRunAsRoot root("some/unit", 42);
      throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
      EXPECT_EQ(Ids(), kServiceIds);
    }
    ExpectLog({});
  });
}

TEST_F(TwoIdentitiesTest, AProcessWithoutAWayToRootHasNoSuchSection) {
  Run(kService, kService, [] {
    const std::array<uid_t, 6> before = Ids();
    {
      const IfRunAsRoot root("some/unit", 42);
      EXPECT_FALSE(root);
      EXPECT_EQ(Ids(), before);
    }
    EXPECT_EQ(Ids(), before);
    ExpectLog({"some/unit:# ERROR: IF_RUN_AS(0, 0)"});
  });
}

TEST_F(TwoIdentitiesTest, ASubtitleThatOnlyItsOwnerMayReadIsAnswered) {
  const fs::path file = PutBeside("film.srt", "text\n");
  for (const fs::path& theirs : {folder_, Film(), file}) {
    ASSERT_EQ(::chown(theirs.c_str(), kOwner, kOwner), 0);
    ASSERT_EQ(::chmod(theirs.c_str(), fs::is_directory(theirs) ? 0700 : 0600), 0);
  }
  RunAsService([&] {
    EXPECT_NE(::euidaccess(file.c_str(), R_OK), 0);
    OutputSubtitle subtitle(Wish(file));
    EXPECT_TRUE(subtitle.Process());
    EXPECT_THAT(subtitle.GetContent(), testing::EndsWith("\r\n\r\ntext\n"));
    EXPECT_EQ(Ids(), kServiceIds);
    ExpectError(1151,
                "readlink failed: " + (folder_ / ".kinora/film.mkv/CRVNVIDEO_SUBTITLE_DLNA.srt").string(),
                [&] { OutputSubtitle(Wish("DLNA")).Process(); });
    EXPECT_EQ(Ids(), kServiceIds);
  });
}

TEST_F(TwoIdentitiesTest, ALinkOfADlnaRendererCountsWhenItIsOursOrOfTheSubtitlesOwner) {
  const fs::path file = PutBeside("film.srt", "text\n");
  ASSERT_EQ(::chown(file.c_str(), kOwner, kOwner), 0);
  const fs::path link = CacheFile(Film(), "").parent_path() / "CRVNVIDEO_SUBTITLE_DLNA.srt";
  fs::create_directories(link.parent_path());
  fs::create_symlink(file, link);
  for (const uid_t owner : {kOwner, kService, uid_t{0}, kStranger}) {
    ASSERT_EQ(::lchown(link.c_str(), owner, owner), 0);
    RunAsService([&] {
      if (owner == kStranger) {
        ExpectError(1151, "readlink failed: " + link.string(),
                    [&] { OutputSubtitle(Wish("DLNA")).Process(); });
      } else {
        EXPECT_TRUE(OutputSubtitle(Wish("DLNA")).Process()) << owner;
      }
      EXPECT_EQ(Ids(), kServiceIds);
    });
  }
}

TEST_F(TwoIdentitiesTest, ACacheFileIsTheFoldersOwnersOrOurs) {
  const fs::path file = PutInCache(Film(), "V2_auto_enu_2", "text\n");
  ASSERT_EQ(::chown(file.parent_path().c_str(), kOwner, kOwner), 0);
  for (const uid_t owner : {kOwner, kService, uid_t{0}, kStranger}) {
    ASSERT_EQ(::chown(file.c_str(), owner, owner), 0);
    RunAsService([&] {
      const IfRunAsRoot root("some/unit", 42);
      EXPECT_EQ(subtitle::IsOwnCacheFile(file), owner != kStranger) << owner;
      EXPECT_EQ(subtitle::ReadCacheFile(file), owner != kStranger ? "text\n" : "") << owner;
    });
  }
}

}  // namespace
}  // namespace crvnkn::webapi
