// Started by root, the service works as the account that the settings name.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "platform/system/places.h"
#include "tests/http/house.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kAccount[] = "www-data";

// Real, effective, saved.
std::string UidsOf(pid_t pid) {
  std::istringstream status(ReadWhole("/proc/" + std::to_string(pid) + "/status"));
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("Uid:")) return line.substr(5, line.rfind('\t') - 5);
  }
  return "";
}

constexpr char kAsAccount[] = "account=\"www-data\"\n";

// The service started by root for another account: skipped where there is one identity only.
class ServeAsRoot : public testing::Test {
 protected:
  void SetUp() override {
    const char* const places = getenv("KINORA_PLACES");
    const passwd* const account = getpwnam(kAccount);
    if (places == nullptr || std::string(places) == "user" || account == nullptr)
      GTEST_SKIP() << "one identity only";
    uid_ = account->pw_uid;
    gid_ = account->pw_gid;
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove(kinora::system::kSettingsFile, ignored);
    if (uid_ == 0 || fs::exists("/tmp/Kinora", ignored)) return;
    fs::create_directory("/tmp/Kinora");
    fs::permissions("/tmp/Kinora", fs::perms(0700));
  }

  std::string Ids() const {
    const std::string id = std::to_string(uid_);
    return id + "\t" + id + "\t" + id;
  }
  // Real root, working as the account.
  std::string RootWorkingAsAccount() const { return "0" + Ids().substr(std::to_string(uid_).size()); }

  void ExpectAllToBeTheAccounts(const fs::path& place) const {
    for (const auto& entry : fs::recursive_directory_iterator(place)) {
      struct stat status {};
      ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
      EXPECT_EQ(status.st_uid, uid_) << entry.path();
      EXPECT_EQ(status.st_gid, gid_) << entry.path();
    }
  }

  uid_t uid_ = 0;
  gid_t gid_ = 0;
};

uid_t OwnerOf(const fs::path& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 ? status.st_uid : static_cast<uid_t>(-1);
}

// Starts the service, which refuses; what it says.
std::string RefusalToServe() {
  const fs::path said = fs::temp_directory_path() / "refusal.log";
  fs::remove(said);
  Process serve({kinora::system::InTarget("bin/kinora"), "serve", "--port", "0"}, said, said);
  EXPECT_EQ(WEXITSTATUS(serve.Wait()), 1);
  return ReadWhole(said);
}

}  // namespace

TEST_F(ServeAsRoot, WorksAsTheAccountThatIsSet) {
  const House house({"h264_aac.mp4"}, kAsAccount);
  EXPECT_EQ(UidsOf(DescendantsLike(house.Pid(), "/usr/sbin/lighttpd").at(0)), Ids());
  EXPECT_EQ(UidsOf(DescendantsLike(house.Pid(), "scan").at(0)), Ids());
  ASSERT_TRUE(Eventually([&] { return DescendantsLike(house.Pid(), "--zygote").size() == 1; }));
  EXPECT_EQ(UidsOf(DescendantsLike(house.Pid(), "--zygote").at(0)), Ids());
  EXPECT_EQ(OwnerOf(kinora::system::kRemuxSocket), uid_);
  EXPECT_EQ(UidsOf(DescendantsLike(house.Pid(), "entry.cgi").at(0)), RootWorkingAsAccount());
  EXPECT_EQ(UidsOf(house.Pid()), RootWorkingAsAccount());
}

TEST_F(ServeAsRoot, GivesItsPlacesToTheAccount) {
  const fs::path elsewhere = fs::temp_directory_path() / "elsewhere";
  std::ofstream(elsewhere) << "of root";
  {
    const House house;  // all of it is root's
    const SignedIn ann = house.SignIn("ann");
    house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
  }
  EXPECT_EQ(OwnerOf(kinora::system::kDatabaseFile), 0U);
  const fs::path named_twice = fs::path(kinora::system::kWorkspace) / "named_twice";
  const fs::path link = kinora::system::InVar("link");
  fs::create_hard_link(elsewhere, named_twice);
  fs::create_symlink(elsewhere, link);

  std::ofstream(kinora::system::kSettingsFile) << kAsAccount;
  const fs::path out = fs::temp_directory_path() / "identity.out";
  const fs::path log = fs::temp_directory_path() / "identity.log";
  Process serve({kinora::system::InTarget("bin/kinora"), "serve", "--port", "0"}, out, log);
  ASSERT_TRUE(Eventually([&] { return ReadWhole(out).ends_with("\n") || !serve.Running(); }));
  EXPECT_TRUE(ReadWhole(out).starts_with("Kinora is ready: ")) << ReadWhole(log);
  EXPECT_EQ(OwnerOf(elsewhere), 0U) << "neither a link nor a second name leads out of the places";
  EXPECT_NE(ReadWhole(log).find(named_twice.string() + " is left to its owner"), std::string::npos);
  fs::remove(named_twice);
  EXPECT_EQ(OwnerOf(kinora::system::kVar), uid_);
  EXPECT_EQ(OwnerOf(kinora::system::kWorkspace), uid_);
  ExpectAllToBeTheAccounts(kinora::system::kVar);
  ExpectAllToBeTheAccounts(kinora::system::kWorkspace);
}

TEST_F(ServeAsRoot, PlaysFilmsAsTheAccount) {
  const House house({"h264_aac.mp4"}, kAsAccount);
  const SignedIn ann = house.SignIn("ann");
  const int film = house.FilmId(ann, "h264_aac.mp4");
  const std::string stream = house.OpenStream(ann, film);
  ExpectAllToBeTheAccounts(kinora::system::kWorkspace);
  EXPECT_TRUE(house.Stream(ann, stream).body == ReadWhole(house.Share() / "h264_aac.mp4"));
  EXPECT_EQ(house.Stream(ann, stream, {"Range: bytes=0-9"}).status, 206);
  EXPECT_EQ(CodeOf(house.Close(ann, stream)), 0);
  EXPECT_TRUE(fs::is_empty(fs::path(kinora::system::kWorkspace) / "RAW"));
  const Reply picture = house.Send({"Film", "picture", {{"id", std::to_string(film)}}, "GET", ann.sid});
  EXPECT_EQ(picture.status, 200) << picture.body << house.Log();
  EXPECT_EQ(picture.Header("Content-Type"), "image/jpeg");
  ExpectAllToBeTheAccounts(kinora::system::kVar);
}

TEST_F(ServeAsRoot, FindsNewFilmsAsTheAccount) {
  const House house({"h264_aac.mp4"}, kAsAccount);
  const SignedIn ann = house.SignIn("ann");
  fs::copy_file(house.Share() / "h264_aac.mp4", house.Share() / "second.mp4");
  fs::last_write_time(house.Share() / "second.mp4", fs::file_time_type::clock::now() - std::chrono::hours(1));
  EXPECT_TRUE(Eventually([&] {
    house.Send({"Catalog", "rescan", {}, "POST", ann.sid, ann.token});
    const Reply list = house.Send({"Catalog", "list", {}, "GET", ann.sid});
    return ParseJson(list.body)["result"]["total"].asInt() == 2;
  }));
  EXPECT_GT(house.FilmId(ann, "second.mp4"), 0);
}

TEST_F(ServeAsRoot, WorksOnAVolumeThatIsRoots) {
  const fs::path volume = fs::temp_directory_path() / "volume";
  fs::create_directory(volume);
  fs::permissions(volume, fs::perms(0755));
  {
    const House house({"h264_aac.mp4"}, std::string(kAsAccount) + "volumes=\"" + volume.string() + "\"\n");
    const SignedIn ann = house.SignIn("ann");
    const std::string stream = house.OpenStream(ann, house.FilmId(ann, "h264_aac.mp4"));
    EXPECT_TRUE(fs::exists(volume / "@tmp/Kinora/RAW" / stream));
    ExpectAllToBeTheAccounts(volume / "@tmp/Kinora");
    EXPECT_EQ(OwnerOf(volume), 0U);
    EXPECT_EQ(CodeOf(house.Close(ann, stream)), 0);
  }
  fs::remove_all(volume);
}

TEST_F(ServeAsRoot, NamesTheShareThatTheAccountCannotRead) {
  const fs::path closed = fs::temp_directory_path() / "closed";
  fs::create_directory(closed);
  fs::permissions(closed, fs::perms(0700));
  const fs::path said = fs::temp_directory_path() / "share.log";
  std::string warning;
  {
    House house({"h264_aac.mp4"}, kAsAccount);
    EXPECT_EQ(house.Log().find("warning"), std::string::npos) << house.Log();
    house.Serve().Signal(SIGTERM);
    house.Serve().Wait();
    Process add({kinora::system::InTarget("bin/kinora"), "share", "add", closed}, said, said);
    ASSERT_EQ(add.Wait(), 0) << ReadWhole(said);
    const fs::path out = fs::temp_directory_path() / "share.out";
    Process serve({kinora::system::InTarget("bin/kinora"), "serve", "--port", "0"}, out, said);
    ASSERT_TRUE(Eventually([&] { return ReadWhole(out).ends_with("\n") || !serve.Running(); }));
    warning = ReadWhole(said);
  }
  EXPECT_NE(warning.find("kinora: warning: the folder " + closed.string() +
                         " cannot be read by the service's account: Permission denied\n"),
            std::string::npos)
      << warning;
  fs::remove_all(closed);
}

TEST_F(ServeAsRoot, GivesAClearErrorWhenAFilmBecomesUnreadable) {
  const House house({"h264_aac.mp4"}, kAsAccount);
  const SignedIn ann = house.SignIn("ann");
  const int film = house.FilmId(ann, "h264_aac.mp4");
  const std::string stream = house.OpenStream(ann, film);
  const fs::path path = house.Share() / "h264_aac.mp4";
  fs::permissions(path, fs::perms(0600));
  const Reply refused = house.Stream(ann, stream);
  EXPECT_EQ(refused.status, 409) << "what root may read is not served";
  EXPECT_EQ(CodeOf(refused), 129);
  EXPECT_NE(CodeOf(house.Open(ann, film)), 0);
  fs::permissions(path, fs::perms(0644));
  EXPECT_EQ(house.Stream(ann, stream).status, 200);
}

TEST_F(ServeAsRoot, RefusesAWorkspaceThatSomebodyHasPlanted) {
  const fs::path workspace = kinora::system::kWorkspace;
  std::ofstream(kinora::system::kSettingsFile) << kAsAccount;
  fs::remove_all(workspace);
  fs::create_directory(workspace);
  ASSERT_EQ(chown(workspace.c_str(), 65534, 65534), 0);
  EXPECT_EQ(RefusalToServe(), "kinora: cannot use /tmp/Kinora: it belongs to another account; remove it\n");
  fs::remove_all(workspace);
  fs::create_directory(workspace);
  fs::permissions(workspace, fs::perms(0777));
  EXPECT_EQ(RefusalToServe(), "kinora: cannot use /tmp/Kinora: others may write into it; remove it\n");
  fs::remove_all(workspace);
  fs::create_directory_symlink("/etc", workspace);
  EXPECT_EQ(RefusalToServe(), "kinora: cannot open the folder /tmp/Kinora: Not a directory\n");
  EXPECT_EQ(OwnerOf("/etc/passwd"), 0U);
  fs::remove(workspace);
}

TEST_F(ServeAsRoot, SaysThatTheAccountCannotReadTheSettings) {
  std::ofstream(kinora::system::kSettingsFile) << kAsAccount;
  fs::permissions(kinora::system::kSettingsFile, fs::perms(0600));
  EXPECT_EQ(RefusalToServe(), std::string("kinora: the service's account cannot read ") +
                                  kinora::system::kSettingsFile + ": see its mode and its folders'\n");
}
