#include "platform/base/handover.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

using namespace kinora::base;

namespace {

using Texts = std::vector<std::string>;

class HandoverTest : public testing::Test {
 protected:
  void SetUp() override {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
    ours_ = Descriptor(ends[0]);
    theirs_ = Descriptor(ends[1]);
  }

  static size_t OpenDescriptors() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
  }

  // A message that SendHandover would not send.
  void SendRaw(std::string bytes, const std::vector<int>& descriptors) const {
    iovec content{bytes.data(), bytes.size()};
    std::vector<char> control(CMSG_SPACE(descriptors.size() * sizeof(int)));
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
      message.msg_control = control.data();
      message.msg_controllen = control.size();
      cmsghdr* const part = CMSG_FIRSTHDR(&message);
      part->cmsg_level = SOL_SOCKET;
      part->cmsg_type = SCM_RIGHTS;
      part->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
      std::memcpy(CMSG_DATA(part), descriptors.data(), descriptors.size() * sizeof(int));
    }
    ASSERT_EQ(::sendmsg(ours_.Get(), &message, MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }

  Descriptor ours_;
  Descriptor theirs_;
  const Descriptor null_{::open("/dev/null", O_RDONLY | O_CLOEXEC)};
  const Descriptor zero_{::open("/dev/zero", O_RDONLY | O_CLOEXEC)};
};

}  // namespace

TEST_F(HandoverTest, BringsTextsAndDescriptorsInTheirOrder) {
  ASSERT_TRUE(SendHandover(ours_.Get(), {"one", "", "two words\n", "\xff"}, {zero_.Get(), null_.Get()}));
  const std::optional<Handover> got = ReceiveHandover(theirs_.Get());
  ASSERT_TRUE(got);
  EXPECT_EQ(got->texts, (Texts{"one", "", "two words\n", "\xff"}));
  ASSERT_EQ(got->descriptors.size(), 2U);
  char byte = 'x';
  EXPECT_EQ(::read(got->descriptors[0].Get(), &byte, 1), 1) << "/dev/zero";
  EXPECT_EQ(::read(got->descriptors[1].Get(), &byte, 1), 0) << "/dev/null";
  for (const Descriptor& descriptor : got->descriptors) {
    EXPECT_EQ(::fcntl(descriptor.Get(), F_GETFD), FD_CLOEXEC);
  }
}

TEST_F(HandoverTest, KeepsMessagesApart) {
  ASSERT_TRUE(SendHandover(ours_.Get(), {"first"}, {null_.Get()}));
  ASSERT_TRUE(SendHandover(ours_.Get(), {"second"}, {null_.Get()}));
  EXPECT_EQ(ReceiveHandover(theirs_.Get())->texts, Texts{"first"});
  EXPECT_EQ(ReceiveHandover(theirs_.Get())->texts, Texts{"second"});
}

TEST_F(HandoverTest, TakesAsMuchAsFitsAndNoMore) {
  const std::string longest(kLongestHandover - 1, 'x');
  const std::vector<int> most(kMostDescriptorsHandedOver, null_.Get());
  ASSERT_TRUE(SendHandover(ours_.Get(), {longest}, most));
  const std::optional<Handover> got = ReceiveHandover(theirs_.Get());
  ASSERT_TRUE(got);
  EXPECT_EQ(got->texts, Texts{longest});
  EXPECT_EQ(got->descriptors.size(), kMostDescriptorsHandedOver);
  const std::vector<int> too_many(kMostDescriptorsHandedOver + 1, null_.Get());
  for (const bool sent : {SendHandover(ours_.Get(), {longest + "x"}, {null_.Get()}),
                          SendHandover(ours_.Get(), {std::string("a\0b", 3)}, {null_.Get()}),
                          SendHandover(ours_.Get(), {}, {null_.Get()}), SendHandover(ours_.Get(), {"x"}, {}),
                          SendHandover(ours_.Get(), {"x"}, too_many)}) {
    EXPECT_FALSE(sent);
    EXPECT_EQ(errno, EMSGSIZE);
  }
  EXPECT_FALSE(ReceiveHandover(theirs_.Get())) << "nothing was sent";
}

TEST_F(HandoverTest, RefusesWhatIsNoSuchMessageAndClosesWhatCameAlong) {
  struct Case {
    const char* what;
    std::string bytes;
    size_t descriptors;
  };
  const Case cases[] = {
      {"no end", "abc", 2},
      {"too long", std::string(kLongestHandover + 1, '\0'), 1},
      {"too many descriptors", std::string("x\0", 2), kMostDescriptorsHandedOver + 1},
      {"far too many", std::string("x\0", 2), 200},
      {"empty", "", 1},
  };
  const size_t before = OpenDescriptors();
  for (const Case& c : cases) {
    SendRaw(c.bytes, std::vector<int>(c.descriptors, null_.Get()));
    EXPECT_FALSE(ReceiveHandover(theirs_.Get())) << c.what;
    EXPECT_EQ(OpenDescriptors(), before) << c.what;
  }
  SendRaw(std::string("x\0", 2), {});
  EXPECT_TRUE(ReceiveHandover(theirs_.Get())->descriptors.empty())
      << "how many there are is for the receiver";
}

TEST_F(HandoverTest, TellsThatTheOtherSideIsGone) {
  theirs_.Reset();
  EXPECT_FALSE(ReceiveHandover(ours_.Get()));
  EXPECT_FALSE(SendHandover(ours_.Get(), {"x"}, {null_.Get()})) << "and no signal";
  EXPECT_EQ(errno, EPIPE);
}

TEST(SplitTexts, EndsEachTextWithAZeroByte) {
  struct Case {
    std::string bytes;
    std::optional<Texts> texts;
  };
  const Case cases[] = {
      {"", Texts{}},
      {std::string("\0", 1), Texts{""}},
      {std::string("a\0", 2), Texts{"a"}},
      {std::string("a\0\0b\0", 5), Texts{"a", "", "b"}},
      {"a", std::nullopt},
      {std::string("a\0b", 3), std::nullopt},
  };
  for (const Case& c : cases) EXPECT_EQ(SplitTexts(c.bytes), c.texts);
}
