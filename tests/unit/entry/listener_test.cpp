#include "entry/listener.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <vector>

#include "platform/system/unix_listener.h"

using kinora::base::Descriptor;
using kinora::entry::RunListener;
using kinora::system::ListenOnUnixSocket;

namespace {

// A listener in a process of its own, whose children greet, then wait for a byte before they end.
class ListenerTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "listener-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }

  void TearDown() override {
    if (listener_ > 0) {
      kill(listener_, SIGKILL);
      waitpid(listener_, nullptr, 0);
    }
    std::filesystem::remove_all(folder_);
  }

  std::string Path() const { return folder_ + "/socket"; }

  void Start(unsigned int most_children) {
    Descriptor socket = ListenOnUnixSocket(Path());
    listener_ = fork();
    ASSERT_GE(listener_, 0);
    if (listener_ == 0) {
      _exit(RunListener(std::move(socket), most_children, [](int connection) {
        char byte = 0;
        if (write(connection, "hello", 5) != 5) return 1;
        return read(connection, &byte, 1) == 1 && write(connection, "bye", 3) == 3 ? 0 : 1;
      }));
    }
  }

  Descriptor Connect() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, Path().c_str());
    Descriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(connect(client.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return client;
  }

  static bool IsReadable(const Descriptor& client, int milliseconds) {
    pollfd ready{client.Get(), POLLIN, 0};
    return poll(&ready, 1, milliseconds) == 1;
  }

  static std::string Receive(const Descriptor& client) {
    char buffer[16];
    const ssize_t got = IsReadable(client, 10'000) ? read(client.Get(), buffer, sizeof buffer) : -1;
    return got < 0 ? "nothing" : std::string(buffer, static_cast<size_t>(got));
  }

  int WaitForListener() {
    int status = 0;
    waitpid(listener_, &status, 0);
    listener_ = -1;
    return status;
  }

  std::string folder_;
  pid_t listener_ = -1;
};

}  // namespace

TEST_F(ListenerTest, AnswersEachConnectionInItsOwnProcess) {
  Start(10);
  const Descriptor first = Connect();
  const Descriptor second = Connect();
  EXPECT_EQ(Receive(first), "hello");
  EXPECT_EQ(Receive(second), "hello");
  ASSERT_EQ(write(second.Get(), "x", 1), 1);
  EXPECT_EQ(Receive(second), "bye");
  EXPECT_EQ(Receive(second), "") << "the connection ends with its process";
}

TEST_F(ListenerTest, LetsConnectionsBeyondItsBoundWait) {
  Start(2);
  std::vector<Descriptor> clients;
  for (int i = 0; i < 3; ++i) clients.push_back(Connect());
  EXPECT_EQ(Receive(clients[0]), "hello");
  EXPECT_EQ(Receive(clients[1]), "hello");
  EXPECT_FALSE(IsReadable(clients[2], 200));
  ASSERT_EQ(write(clients[0].Get(), "x", 1), 1);
  EXPECT_EQ(Receive(clients[2]), "hello");
}

TEST_F(ListenerTest, ServesOneAfterTheOtherFarBeyondItsBound) {
  Start(2);
  for (int i = 0; i < 100; ++i) {
    const Descriptor client = Connect();
    ASSERT_EQ(Receive(client), "hello") << i;
    ASSERT_EQ(write(client.Get(), "x", 1), 1);
    ASSERT_EQ(Receive(client), "bye") << i;
  }
}

TEST_F(ListenerTest, EndsOnRequestAndLeavesAnswersUnderWayAlone) {
  Start(10);
  const Descriptor client = Connect();
  EXPECT_EQ(Receive(client), "hello");
  kill(listener_, SIGTERM);
  const int status = WaitForListener();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  ASSERT_EQ(write(client.Get(), "x", 1), 1);
  EXPECT_EQ(Receive(client), "bye");
}

TEST_F(ListenerTest, LeavesNoZombies) {
  Start(10);
  for (int i = 0; i < 5; ++i) {
    const Descriptor client = Connect();
    EXPECT_EQ(Receive(client), "hello");
  }
  const std::string children =
      "/proc/" + std::to_string(listener_) + "/task/" + std::to_string(listener_) + "/children";
  std::string text = "unread";
  for (int i = 0; i < 1000 && !text.empty(); ++i) {
    FILE* file = fopen(children.c_str(), "r");
    ASSERT_NE(file, nullptr);
    char buffer[256] = {};
    text.assign(buffer, fread(buffer, 1, sizeof buffer, file));
    fclose(file);
    usleep(10'000);
  }
  EXPECT_EQ(text, "");
}
