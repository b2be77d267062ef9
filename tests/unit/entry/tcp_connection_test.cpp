#include "entry/tcp_connection.h"

#include "tests/unit/entry/tcp_pair.h"

namespace kinora::entry {
namespace {

class TcpConnectionOf : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Families, TcpConnectionOf, testing::Values("127.0.0.1", "::1"),
                         [](const auto& instance) { return instance.index == 0 ? "Ipv4" : "Ipv6"; });

TEST_P(TcpConnectionOf, IsClosedByThePeerOnceThatHasClosed) {
  test::TcpPair pair(GetParam());
  if (pair.local < 0) GTEST_SKIP() << "this machine has no " << GetParam();
  const std::optional<TcpConnection> connection = TcpConnection::Between(pair.ends);
  ASSERT_TRUE(connection);
  EXPECT_FALSE(connection->IsClosedByPeer());
  ASSERT_EQ(send(pair.peer, "bytes", 5, 0), 5);
  EXPECT_FALSE(connection->IsClosedByPeer());
  pair.ClosePeer();
  EXPECT_TRUE(connection->IsClosedByPeer()) << "also while what it sent has not been read";
  EXPECT_TRUE(connection->IsClosedByPeer()) << "asked again";
}

TEST(TcpConnection, IsNotClosedWhenNobodyKnowsIt) {
  test::TcpPair pair("127.0.0.1");
  TcpEnds others = pair.ends;
  std::swap(others.local_port, others.peer_port);
  const std::optional<TcpConnection> peers = TcpConnection::Between(others);
  ASSERT_TRUE(peers);
  EXPECT_FALSE(peers->IsClosedByPeer()) << "the other end's own state";
  others.peer_address = "127.9.9.9";
  const std::optional<TcpConnection> none = TcpConnection::Between(others);
  ASSERT_TRUE(none);
  EXPECT_FALSE(none->IsClosedByPeer());
}

TEST(TcpConnection, IsNoneWithoutTwoEnds) {
  const TcpEnds good{"127.0.0.1", "80", "127.0.0.1", "4711"};
  EXPECT_TRUE(TcpConnection::Between(good));
  for (std::string TcpEnds::*const part :
       {&TcpEnds::local_address, &TcpEnds::local_port, &TcpEnds::peer_address, &TcpEnds::peer_port}) {
    for (const char* text : {"", "x", "0", "65536", "-1", "80 ", "::1"}) {
      TcpEnds ends = good;
      ends.*part = text;
      EXPECT_FALSE(TcpConnection::Between(ends)) << text;
    }
  }
}

}  // namespace
}  // namespace kinora::entry
