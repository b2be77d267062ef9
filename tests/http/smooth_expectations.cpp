#include "tests/http/smooth_expectations.h"

#include <gtest/gtest.h>

namespace kinora::test {
namespace {

using namespace std::string_literals;

// What a chunk says of when it is, in front of two times of 64 bits.
const std::string kTimes = "\x6d\x1d\x9b\x05\x42\xd5\x44\xe6\x80\xe2\x14\x1d\xaf\xf7\x57\xb2\1\0\0\0"s;

uint64_t NumberAt(const std::string& bytes, size_t place, size_t size) {
  uint64_t number = 0;
  for (const char byte : bytes.substr(place, size)) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

}  // namespace

void ExpectManifest(const Reply& reply, const std::string& what) {
  ASSERT_EQ(reply.status, 200) << what << reply.body.substr(0, 500);
  EXPECT_EQ(reply.Header("Content-Type"), "text/xml") << what;
  EXPECT_EQ(reply.Header("Cache-Control"), "no-store") << what;
  EXPECT_TRUE(reply.body.starts_with("<?xml ")) << what << reply.body;
  ExpectForAnyOriginOnce(reply, what);
}

void ExpectChunk(const Reply& reply, const std::string& what) {
  ASSERT_EQ(reply.status, 200) << what << reply.body.substr(0, 500);
  EXPECT_EQ(reply.Header("Content-Type"), "video/mp4") << what;
  EXPECT_EQ(reply.Header("Cache-Control"), "private, max-age=300") << what;
  ExpectForAnyOriginOnce(reply, what);
  ASSERT_GT(reply.body.size(), 16U) << what;
  EXPECT_EQ(reply.body.substr(4, 4), "moof") << what;
  const uint64_t moof = NumberAt(reply.body, 0, 4);
  ASSERT_LE(moof + 8, reply.body.size()) << what;
  EXPECT_EQ(reply.body.substr(moof + 4, 4), "mdat") << what;
  EXPECT_EQ(moof + NumberAt(reply.body, moof, 4), reply.body.size()) << what;
}

Reply ExpectChunkOf(const SmoothViewer& viewer, const ViewedStream& stream, const SmoothTrack& track,
                    size_t number) {
  const std::string address = track.ChunkAt(track.starts.at(number));
  Reply reply = viewer.Get(viewer.Path(stream, address));
  ExpectChunk(reply, address);
  const size_t times = reply.body.find(kTimes);
  if (times == std::string::npos) {
    ADD_FAILURE() << address << " says nothing of its time";
    return reply;
  }
  const auto start = static_cast<int64_t>(NumberAt(reply.body, times + kTimes.size(), 8));
  const auto length = static_cast<int64_t>(NumberAt(reply.body, times + kTimes.size() + 8, 8));
  EXPECT_EQ(start, track.starts[number]) << address;
  EXPECT_EQ(start + length, number + 1 < track.starts.size() ? track.starts[number + 1] : track.end)
      << address;
  return reply;
}

}  // namespace kinora::test
