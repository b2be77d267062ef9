#include "platform/system/unix_listener.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

using kinora::base::Descriptor;
using kinora::system::ListenOnUnixSocket;

namespace {

class ListenOnUnixSocketTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "unix-listener-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Path() const { return folder_ + "/socket"; }
  bool CanConnect() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, Path().c_str());
    const Descriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return connect(client.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  static std::errc Failure(const std::string& path) {
    try {
      ListenOnUnixSocket(path);
    } catch (const std::system_error& error) {
      return static_cast<std::errc>(error.code().value());
    }
    return {};
  }

  std::string folder_;
};

}  // namespace

TEST_F(ListenOnUnixSocketTest, TakesConnectionsOfItsOwnAccountOnly) {
  const mode_t before = umask(0);
  const Descriptor socket = ListenOnUnixSocket(Path());
  EXPECT_EQ(umask(before), 0U) << "the mask is as it was";
  EXPECT_TRUE(CanConnect());
  struct stat status {};
  ASSERT_EQ(stat(Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(ListenOnUnixSocketTest, ReplacesWhatAnEarlierOneHasLeft) {
  { const Descriptor left = ListenOnUnixSocket(Path()); }
  EXPECT_FALSE(CanConnect());
  const Descriptor socket = ListenOnUnixSocket(Path());
  EXPECT_TRUE(CanConnect());
}

TEST_F(ListenOnUnixSocketTest, SaysWhyItCannot) {
  EXPECT_EQ(Failure(std::string(200, 'x')), std::errc::filename_too_long);
  EXPECT_EQ(Failure(folder_ + "/missing/socket"), std::errc::no_such_file_or_directory);
}
