// Plug-ins of a process that is the service's account and may become root, with real identities.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <functional>

#include "library/subtitle/subtitle_discovery.h"
#include "library/subtitle/subtitle_search.h"
#include "platform/system/secret_box.h"
#include "tests/unit/library/subtitle/installed_plugins.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kService = 12345;
constexpr char kWriteSubtitle[] =
    "$file = preg_replace('/mkv$/', 'srt', $path);\n"
    "file_put_contents($file, \"1\\n00:00:01,000 --> 00:00:02,000\\ntext\\n\");\n"
    "echo json_encode(['id' => $file]);";

class PluginsAsServiceTest : public kinora::fakes::InstalledPluginsTest {
 protected:
  void SetUp() override {
    const char* const places = std::getenv("KINORA_PLACES");
    if (places == nullptr || std::string(places) == "user" || ::geteuid() != 0)
      GTEST_SKIP() << "root with two identities is needed";
    InstalledPluginsTest::SetUp();
  }
  void TearDown() override {
    if (!IsSkipped()) InstalledPluginsTest::TearDown();
  }

  // The work in a process that has these ids; it fails when an expectation in it does, or anything is thrown.
  static void Run(uid_t real, const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
      if (::setresgid(real, kService, kService) != 0 || ::setresuid(real, kService, kService) != 0)
        ::_exit(2);
      EXPECT_NO_THROW(work());
      std::fflush(nullptr);
      ::_exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  static void RunAsService(const std::function<void()>& work) {
    Run(0, [&] {
      work();
      EXPECT_EQ(Ids(), (std::array<uid_t, 6>{0, kService, kService, 0, kService, kService}));
    });
  }
  static std::array<uid_t, 6> Ids() {
    std::array<uid_t, 6> ids{};
    ::getresuid(&ids[0], &ids[1], &ids[2]);
    ::getresgid(&ids[3], &ids[4], &ids[5]);
    return ids;
  }
  static std::pair<uid_t, gid_t> OwnerOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return {status.st_uid, status.st_gid};
  }
};

TEST_F(PluginsAsServiceTest, ADiscoveredSubtitleBelongsToTheOrdinaryUserAndIsReused) {
  const std::string mark = folder_ / "mark";
  InstallDownloading("a", "file_put_contents('" + mark + "', 'x', FILE_APPEND);\n" + kWriteSubtitle);
  RunAsService([] {
    const std::string file = DiscoverSubtitle("/v/film.mkv");
    EXPECT_EQ(OwnerOf(file), std::pair(1024U, 100U));
    EXPECT_EQ(OwnerOf(fs::path(file).parent_path()), std::pair(kService, kService));
    EXPECT_EQ(DiscoverSubtitle("/v/film.mkv"), file);
  });
  EXPECT_EQ(Content(mark), "x");
}

TEST_F(PluginsAsServiceTest, ADownloadingPluginIsNeverRoot) {
  const std::string status = folder_ / "status";
  InstallDownloading("a", "file_put_contents('" + status + "', file_get_contents('/proc/self/status'));\n" +
                              std::string(kWriteSubtitle));
  RunAsService([] { DiscoverSubtitle("/v/film.mkv"); });
  for (const char* const line : {"Uid:\t12345\t12345\t12345\t12345", "Gid:\t12345\t12345\t12345\t12345",
                                 "CapPrm:\t0000000000000000", "NoNewPrivs:\t1"})
    EXPECT_THAT(Content(status), testing::HasSubstr(line));
}

TEST_F(PluginsAsServiceTest, APluginThatNamesSomebodyElsesFileGetsItNeitherGivenNorRemoved) {
  const fs::path victim = folder_ / "victim";
  std::ofstream(victim) << "no subtitle";
  const fs::path readable = folder_ / "readable.srt";
  std::ofstream(readable) << "1\n00:00:01,000 --> 00:00:02,000\ntext\n";
  for (const fs::path& file : {victim, readable}) {
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    InstallDownloading("a", "echo json_encode(['id' => '" + file.string() + "']);");
    RunAsService([] { ExpectError(30000, "", [] { DiscoverSubtitle("/v/film.mkv"); }); });
    EXPECT_EQ(OwnerOf(file), std::pair(0U, 0U)) << file;
  }
}

TEST_F(PluginsAsServiceTest, APluginCannotGetAtTheMachinesKey) {
  Install("a",
          "$key = @file_get_contents('/var/packages/Kinora/var/machine.key');\n"
          "echo json_encode(['items' => [['got' => $key !== false]]]);");
  RunAsService([] {
    const std::string encrypted = kinora::system::EncryptSecret("secret").value_or("");
    EXPECT_EQ(kinora::system::DecryptSecret(encrypted), "secret");
    const Json::Value result = GetSubtitleSearchResult("/v/film.mkv");
    EXPECT_EQ(result["items"][0]["got"], false);
  });
  fs::remove(kinora::system::kMachineKey);
}

TEST_F(PluginsAsServiceTest, WithoutAWayToRootNothingIsDiscovered) {
  const std::string mark = folder_ / "mark";
  Install("a", "touch('" + mark + "'); echo '{}';");
  Run(kService, [] {
    const std::array<uid_t, 6> before = Ids();
    try {
      DiscoverSubtitle("/v/film.mkv");
      ADD_FAILURE() << "nothing was thrown";
    } catch (const runas_error& error) {
      EXPECT_STREQ(error.what(), "RUN_AS(0, 0)");
    }
    EXPECT_EQ(Ids(), before);
    ExpectLog({"subtitle/plugin:# ERROR: RUN_AS(0, 0)"});
  });
  EXPECT_FALSE(fs::exists(mark));
}

TEST_F(PluginsAsServiceTest, WithoutDescriptorsNothingIsDiscoveredAndTheIdentityIsBack) {
  Install("a", "echo '{\"items\": [{}]}';");
  RunAsService([] {
    const rlimit none{3, 3};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    ExpectError(101, "", [] { DiscoverSubtitle("/v/film.mkv"); });
    ExpectError(101, "", [] { GetSubtitleSearchResult("/v/film.mkv"); });
  });
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
