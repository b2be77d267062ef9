#include "helpers/job/transport_check.h"

#include <gtest/gtest.h>

#include <vector>

namespace kinora::helper {
namespace {

std::string PacketOf(int stream, int count, bool payload = true) {
  std::string packet(188, '\0');
  packet[0] = 0x47;
  packet[1] = static_cast<char>(stream >> 8);
  packet[2] = static_cast<char>(stream & 0xFF);
  packet[3] = static_cast<char>((payload ? 0x10 : 0x20) | (count & 0x0F));
  return packet;
}

// The tables and twenty packets of a picture.
std::vector<std::string> Packets() {
  std::vector<std::string> packets = {PacketOf(0, 0), PacketOf(0x1000, 0)};
  for (int n = 0; n < 20; ++n) packets.push_back(PacketOf(0x100, n));
  return packets;
}

std::string Joined(const std::vector<std::string>& packets) {
  std::string bytes;
  for (const std::string& packet : packets) bytes += packet;
  return bytes;
}

TEST(FaultOfTransportStream, IsNoneInAWholeOne) { EXPECT_EQ(FaultOfTransportStream(Joined(Packets())), ""); }

TEST(FaultOfTransportStream, IsNoneWherePacketsWithoutPayloadOrNullPacketsStandBetween) {
  std::vector<std::string> packets = Packets();
  packets.insert(packets.begin() + 5, PacketOf(0x100, 2, false));
  packets.insert(packets.begin() + 9, PacketOf(0x1FFF, 7));
  EXPECT_EQ(FaultOfTransportStream(Joined(packets)), "");
}

TEST(FaultOfTransportStream, IsNoneWhereTheCountMayJump) {
  std::vector<std::string> packets = Packets();
  std::string jump = PacketOf(0x100, 9);
  jump[3] = 0x39;  // an adaptation field too
  jump[4] = 1;
  jump[5] = static_cast<char>(0x80);
  packets.push_back(jump);
  EXPECT_EQ(FaultOfTransportStream(Joined(packets)), "");
}

TEST(FaultOfTransportStream, IsFoundWhateverIsMissing) {
  EXPECT_EQ(FaultOfTransportStream(""), "empty");
  EXPECT_EQ(FaultOfTransportStream(Joined(Packets()).substr(0, 1000)), "cut off");
  EXPECT_EQ(FaultOfTransportStream(std::string(1880, '\0')), "no packet at 0");
  EXPECT_EQ(FaultOfTransportStream(PacketOf(0, 0) + PacketOf(0x1000, 0)), "nothing in it");
  for (size_t n = 3; n < 20; ++n) {
    std::vector<std::string> packets = Packets();
    packets.erase(packets.begin() + static_cast<std::ptrdiff_t>(n));
    EXPECT_EQ(FaultOfTransportStream(Joined(packets)), "a gap at " + std::to_string(188 * n));
  }
}

}  // namespace
}  // namespace kinora::helper
