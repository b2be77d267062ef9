#include "platform/system/identity.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <cstddef>
#include <system_error>

#include "platform/system/child.h"
#include "tests/unit/platform/system/child_fixture.h"

namespace kinora::system {
namespace {

Settings WithAccount(const std::string& name) {
  Settings settings;
  settings.account = name;
  return settings;
}

std::array<uid_t, 3> Uids() {
  std::array<uid_t, 3> ids{};
  ::getresuid(&ids[0], &ids[1], &ids[2]);
  return ids;
}

std::array<gid_t, 3> Gids() {
  std::array<gid_t, 3> ids{};
  ::getresgid(&ids[0], &ids[1], &ids[2]);
  return ids;
}

// From here on the system call fails with EPERM in this process.
bool ForbidCall(unsigned int number) {
  std::array<sock_filter, 4> program{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

class IdentityTest : public ChildTest {
 protected:
  void SetUp() override {
    if (!MaySwitchIds()) GTEST_SKIP() << "needs root and more than one id";
  }
};

TEST(MapsOneId, HoldsForASingleMappedIdAlone) {
  EXPECT_TRUE(MapsOneId("         0       1000          1\n"));
  EXPECT_FALSE(MapsOneId("         0          0 4294967295\n"));
  EXPECT_FALSE(MapsOneId("0 1000 1\n1 100000 65536\n"));
  EXPECT_FALSE(MapsOneId(""));
}

TEST_F(IdentityTest, KeepsRootAsRealIdsAndWorksUnderTheAccount) {
  const passwd* const entry = ::getpwnam("daemon");
  ASSERT_NE(entry, nullptr);
  const uid_t uid = entry->pw_uid;
  const gid_t gid = entry->pw_gid;
  EXPECT_EQ(InOwnProcess([uid, gid] {
              EnterServiceIdentity(WithAccount("daemon"));
              if (Uids() != std::array<uid_t, 3>{0, uid, uid}) return 1;
              if (Gids() != std::array<gid_t, 3>{0, gid, gid}) return 2;
              gid_t group = 0;
              if (::getgroups(1, &group) != 1 || group != gid) return 3;
              return ::seteuid(0) == 0 && ::seteuid(uid) == 0 ? 0 : 4;  // a root section and its way back
            }),
            0);
}

TEST_F(IdentityTest, LeavesTheOriginalUserBehindWhenInstalledSetUid) {
  EXPECT_EQ(InOwnProcess([] {
              if (::setresuid(33, 0, 0) != 0) return 1;
              EnterServiceIdentity(WithAccount("daemon"));
              return Uids() == std::array<uid_t, 3>{0, 1, 1} ? 0 : 2;
            }),
            0);
}

TEST_F(IdentityTest, StaysWithoutAConfiguredAccountOrWithRootAsOne) {
  for (const char* name : {"", "root"}) {
    EXPECT_EQ(InOwnProcess([name] {
                EnterServiceIdentity(WithAccount(name));
                return Uids() == std::array<uid_t, 3>{0, 0, 0} ? 0 : 1;
              }),
              0);
  }
}

TEST_F(IdentityTest, StaysWhenNotRoot) {
  EXPECT_EQ(InOwnProcess([] {
              if (::setresuid(33, 33, 33) != 0) return 1;
              EnterServiceIdentity(WithAccount("daemon"));
              return Uids() == std::array<uid_t, 3>{33, 33, 33} ? 0 : 2;
            }),
            0);
}

TEST_F(IdentityTest, ThrowsForAnAccountThatIsNotThere) {
  EXPECT_THROW(EnterServiceIdentity(WithAccount("no-such-account")), std::system_error);
  EXPECT_EQ(Uids(), (std::array<uid_t, 3>{0, 0, 0}));
}

TEST_F(IdentityTest, ThrowsWhenAnIdCannotBeSet) {
  for (const unsigned int call : {SYS_setresuid, SYS_setresgid, SYS_setgroups}) {
    EXPECT_EQ(InOwnProcess([call] {
                if (!ForbidCall(call)) return 1;
                try {
                  EnterServiceIdentity(WithAccount("daemon"));
                } catch (const std::system_error&) {
                  return 0;
                }
                return 2;
              }),
              0)
        << call;
  }
}

TEST_F(IdentityTest, StartsNoChildWhenItsRightsCannotBeTakenAway) {
  for (const unsigned int call : {SYS_setresuid, SYS_setresgid, SYS_setgroups, SYS_capset}) {
    const std::filesystem::path mark = folder_ / ("mark" + std::to_string(call));
    EXPECT_EQ(InOwnProcess([this, call, mark] {
                if (!ForbidCall(call)) return 1;
                Command command;
                command.arguments = {stub_, "write", mark};
                command.limits.file_size = 100;
                return RunChild(command).end == ChildResult::End::kNotStarted ? 0 : 2;
              }),
              0)
        << call;
    EXPECT_FALSE(std::filesystem::exists(mark));
  }
}

TEST_F(IdentityTest, GivesChildrenTheConfiguredAccount) {
  const std::optional<ChildRights> rights = DroppedRights(WithAccount("daemon"));
  ASSERT_TRUE(rights);
  EXPECT_EQ(rights->uid, 1U);
  EXPECT_FALSE(rights->keep_capabilities);
  EXPECT_FALSE(DroppedRights(WithAccount("no-such-account")));
  EXPECT_EQ(DroppedRights(WithAccount("root"))->uid, ::getpwnam("nobody")->pw_uid);
}

}  // namespace
}  // namespace kinora::system
