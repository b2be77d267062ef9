#include "platform/system/transfer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>
#include <string>

#include "platform/base/descriptor.h"

namespace kinora::system {
namespace {

using base::Descriptor;
enum class Channel { kPipe, kSocket, kNonBlockingPipe, kNonBlockingSocket };

class TransferTest : public testing::TestWithParam<Channel> {
 protected:
  TransferTest() {
    ::signal(SIGPIPE, SIG_IGN);
    std::string name = testing::TempDir() + "transfer-XXXXXX";
    file_ = Descriptor(::mkostemp(name.data(), O_CLOEXEC));
    ::unlink(name.c_str());
    for (size_t i = 0; i < 3'000'000; ++i) content_ += static_cast<char>(i * 2654435761U >> 24);
    EXPECT_TRUE(SendBytes(file_.Get(), content_));
    const bool is_pipe = GetParam() == Channel::kPipe || GetParam() == Channel::kNonBlockingPipe;
    int ends[2];
    EXPECT_EQ(is_pipe ? ::pipe(ends) : ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    read_ = Descriptor(ends[0]);
    write_ = Descriptor(ends[1]);
    if (GetParam() >= Channel::kNonBlockingPipe) ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
  }

  std::string ReadAll() {
    std::string all;
    char buffer[10'000];
    for (ssize_t got; (got = ::read(read_.Get(), buffer, sizeof(buffer))) > 0;) all.append(buffer, got);
    return all;
  }

  Descriptor file_;
  std::string content_;
  Descriptor read_;
  Descriptor write_;
};

TEST_P(TransferTest, SendsExactlyTheRangeToASlowReader) {
  std::future<std::string> got = std::async(std::launch::async, [this] { return ReadAll(); });
  EXPECT_TRUE(SendRange(write_.Get(), file_.Get(), {5, 2'999'990}));
  write_.Reset();
  EXPECT_TRUE(got.get() == content_.substr(5, 2'999'990));
}

TEST_P(TransferTest, GivesUpAReaderThatTakesNothing) {
  using std::chrono::milliseconds;
  EXPECT_FALSE(SendRange(write_.Get(), file_.Get(), {0, content_.size()}, milliseconds(50)));
  EXPECT_FALSE(SendBytes(write_.Get(), content_, milliseconds(50)));
  const bool blocks = (::fcntl(write_.Get(), F_GETFL) & O_NONBLOCK) == 0;
  EXPECT_EQ(blocks, GetParam() < Channel::kNonBlockingPipe) << "others find the descriptor as it was";
  write_.Reset();
  const std::string got = ReadAll();
  EXPECT_LT(got.size(), content_.size());
  EXPECT_TRUE(content_.starts_with(got)) << "what has gone out is right";
}

TEST_P(TransferTest, StaysWithAReaderThatTakesLittleAtATime) {
  std::future<size_t> got = std::async(std::launch::async, [this] {
    size_t all = 0;
    char buffer[50'000];
    for (ssize_t part; (part = ::read(read_.Get(), buffer, sizeof(buffer))) > 0; ::usleep(5'000)) all += part;
    return all;
  });
  // In all it takes longer than the patience lasts.
  EXPECT_TRUE(SendRange(write_.Get(), file_.Get(), {0, content_.size()}, std::chrono::milliseconds(200)));
  write_.Reset();
  EXPECT_EQ(got.get(), content_.size());
}

TEST_P(TransferTest, SendsBytesToASlowReader) {
  std::future<std::string> got = std::async(std::launch::async, [this] { return ReadAll(); });
  EXPECT_TRUE(SendBytes(write_.Get(), content_));
  write_.Reset();
  EXPECT_TRUE(got.get() == content_);
}

TEST_P(TransferTest, FailsWhenTheReaderGoesAway) {
  std::future<void> gone = std::async(std::launch::async, [this] {
    char byte = 0;
    EXPECT_EQ(::read(read_.Get(), &byte, 1), 1);
    read_.Reset();
  });
  EXPECT_FALSE(SendRange(write_.Get(), file_.Get(), {0, content_.size()}));
  gone.get();
  EXPECT_FALSE(SendBytes(write_.Get(), "x"));
}

TEST_P(TransferTest, FailsWhenTheFileHasBecomeShorter) {
  std::future<std::string> got = std::async(std::launch::async, [this] { return ReadAll(); });
  ASSERT_EQ(::ftruncate(file_.Get(), 1000), 0);
  EXPECT_FALSE(SendRange(write_.Get(), file_.Get(), {0, content_.size()}));
  write_.Reset();
  EXPECT_TRUE(got.get() == content_.substr(0, 1000));
}

INSTANTIATE_TEST_SUITE_P(Channels, TransferTest,
                         testing::Values(Channel::kPipe, Channel::kSocket, Channel::kNonBlockingPipe,
                                         Channel::kNonBlockingSocket));

// A file opened for appending takes no pages from the kernel.
TEST(SendRange, CopiesWhereTheKernelCannot) {
  std::string name = testing::TempDir() + "transfer-XXXXXX";
  const Descriptor from(::mkostemp(name.data(), O_CLOEXEC));
  const Descriptor to(::open(name.c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
  ::unlink(name.c_str());
  ASSERT_TRUE(SendBytes(from.Get(), "0123456789"));
  EXPECT_TRUE(SendRange(to.Get(), from.Get(), {2, 3}));
  char content[20] = {};
  EXPECT_EQ(::pread(to.Get(), content, sizeof(content), 0), 13);
  EXPECT_STREQ(content, "0123456789234");
}

}  // namespace
}  // namespace kinora::system
