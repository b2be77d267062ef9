#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "platform/base/descriptor.h"
#include "tests/unit/cli/commands_fixture.h"

namespace kinora::cli {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// On a machine that has what it takes: what is broken is broken here.
class DoctorTest : public CommandsTest {
 protected:
  DoctorTest() { Set(""); }
  ~DoctorTest() override {
    fs::remove(system::kSettingsFile);
    fs::remove_all(system::kWorkspace);
    fs::create_directory(system::kWorkspace);
    ::chmod(system::kWorkspace, 0700);
  }

  // Beside settings that this machine, whatever it is, meets.
  static void Set(const std::string& line) {
    std::ofstream(system::kSettingsFile) << "port=\"0\"\nfree_space_floor=\"1M\"\nstreams_quota=\"1M\"\n"
                                         << line << '\n';
  }
  void ExpectFailure(const std::string& subject, const std::string& words) {
    const Outcome outcome = Run({"doctor"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, HasSubstr("FAIL  " + subject)) << words;
    EXPECT_THAT(outcome.out, HasSubstr(words));
  }
};

TEST_F(DoctorTest, FindsNothingWrongWhereNothingIs) {
  Run({"share", "add", Films()});
  const Outcome outcome = Run({"doctor"});
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  EXPECT_THAT(outcome.out, Not(HasSubstr("FAIL")));
  EXPECT_THAT(
      outcome.out,
      AllOf(HasSubstr("OK    settings   /var/packages/Kinora/etc/kinora.conf\n"),
            HasSubstr("OK    programs   all parts are there\n"),
            HasSubstr("OK    ffmpeg     ffmpeg version "), HasSubstr("OK    ffprobe    ffprobe version "),
            HasSubstr("OK    encoders   libx264, aac, libmp3lame, libvpx, libopus\n"),
            HasSubstr("OK    filters    scale, bwdif, zscale, tonemap\n"), HasSubstr("OK    php        PHP "),
            HasSubstr("OK    chinese    subtitles can be had in the traditional script\n"),
            HasSubstr("OK    workspace  /tmp/Kinora\n")));
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr(" is free; Kinora is not running\n"), HasSubstr("OK    volume     /"),
                    HasSubstr("OK    database   /var/packages/Kinora/var/database/kinora.db\n"),
                    HasSubstr("OK    share      " + Films() + "\n"), HasSubstr("hardware   ")));
  EXPECT_THAT(outcome.out, testing::ContainsRegex("\n(OK  |WARN)  memory     [0-9.]+ .iB available"));
}

TEST_F(DoctorTest, WarnsWhileNothingIsServed) {
  EXPECT_THAT(Run({"doctor"}).out,
              HasSubstr("WARN  database   /var/packages/Kinora/var/database/kinora.db does not exist yet; "
                        "`kinora share add FOLDER` makes it\n"));
  EXPECT_FALSE(fs::exists(system::kDatabaseFile)) << "nothing is changed";
  Run({"share", "add", Films()});
  Run({"share", "remove", "films"});
  const Outcome outcome = Run({"doctor"});
  EXPECT_THAT(outcome.out,
              HasSubstr("WARN  share      nothing is served; `kinora share add FOLDER` changes that\n"));
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, FailsForSettingsThatCannotBeUnderstood) {
  Set("prot=\"8080\"");
  ExpectFailure("settings   line 4 of ", "names no setting: its default stands");
  fs::remove(system::kSettingsFile);
  fs::create_directory(system::kSettingsFile);
  ExpectFailure("settings   cannot read the settings in ", "no plain file");
}

TEST_F(DoctorTest, FailsForAVolumeThatIsFullOrNotThere) {
  Set("free_space_floor=\"8000000T\"");
  ExpectFailure("volume     ", "has less free than free_space_floor");
  Set("volumes=\"/nonexistent\"");
  ExpectFailure("volume     /nonexistent is not there", "make or mount it");
}

TEST_F(DoctorTest, WarnsWhenTheQuotaIsMoreThanTheVolumeHas) {
  Set("streams_quota=\"8000000T\"");
  const Outcome outcome = Run({"doctor"});
  EXPECT_THAT(outcome.out, HasSubstr("WARN  volume     "));
  EXPECT_THAT(outcome.out, HasSubstr("less than streams_quota"));
  EXPECT_EQ(outcome.status, 0) << outcome.out;
}

TEST_F(DoctorTest, FailsForAShareThatCannotBeRead) {
  Run({"share", "add", Films()});
  fs::remove(Films());
  ExpectFailure("share      " + Films() + " cannot be read by the service's account: No such file",
                "take the share away with `kinora share remove`");
}

TEST_F(DoctorTest, FailsForADamagedDatabaseAndKeepsIt) {
  fs::create_directories(fs::path(system::kDatabaseFile).parent_path());
  std::ofstream(system::kDatabaseFile) << "this is no database";
  ExpectFailure("database   cannot open ", "restore it from a copy, or move it away");
  EXPECT_EQ(fs::file_size(system::kDatabaseFile), 19U);
}

TEST_F(DoctorTest, FailsForAWorkspaceThatIsNotTheServicesOwn) {
  ASSERT_EQ(::chmod(system::kWorkspace, 0770), 0);
  ExpectFailure("workspace  /tmp/Kinora may be written to by others", "remove it, Kinora makes it anew");
  fs::remove_all(system::kWorkspace);
  EXPECT_THAT(Run({"doctor"}).out, HasSubstr("OK    workspace  /tmp/Kinora is made when it is needed\n"));
  std::ofstream(system::kWorkspace) << "x";
  ExpectFailure("workspace  /tmp/Kinora is no folder", "remove it");
}

TEST_F(DoctorTest, FailsForAPortThatAnotherProgramHas) {
  const base::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ASSERT_EQ(::bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), length), 0);
  ASSERT_EQ(::listen(socket.Get(), 1), 0);
  ASSERT_EQ(::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
  Set("port=\"" + std::to_string(ntohs(address.sin_port)) + "\"");
  ExpectFailure("port       port ", "is taken by another program");
}

}  // namespace
}  // namespace kinora::cli
