#include "tests/http/hls_expectations.h"

#include <gtest/gtest.h>

#include <numeric>

namespace kinora::test {
namespace {

constexpr double kOrigin = 1;        // seconds, in every transport stream
constexpr double kOneFrame = 0.045;  // seconds, of picture or sound
constexpr size_t kPacket = 188;      // bytes

}  // namespace

void ExpectForAnyOriginOnce(const Reply& reply, const std::string& what) {
  EXPECT_EQ(reply.Header("Access-Control-Allow-Origin"), "*") << what;
  EXPECT_EQ(reply.Header("Access-Control-Allow-Methods"), "GET") << what;
  EXPECT_EQ(reply.Header("Access-Control-Allow-Headers"), "origin, x-requested-with, content-type, range")
      << what;
  EXPECT_EQ(reply.Count("Access-Control-Allow-Credentials"), 0U) << what;
  EXPECT_EQ(reply.Count("Set-Cookie"), 0U) << what;
  EXPECT_EQ(reply.Count("Cache-Control"), 1U) << what;
  EXPECT_EQ(reply.Count("Content-Type"), 1U) << what;
  EXPECT_EQ(reply.Header("X-Content-Type-Options"), "nosniff") << what;
}

void ExpectPlaylist(const Reply& reply, const std::string& what) {
  EXPECT_EQ(reply.status, 200) << what;
  EXPECT_EQ(reply.Header("Content-Type"), "application/x-mpegURL") << what;
  EXPECT_EQ(reply.Header("Cache-Control"), "no-store") << what;
  EXPECT_TRUE(reply.body.starts_with("#EXTM3U\n")) << what << reply.body;
  ExpectForAnyOriginOnce(reply, what);
}

void ExpectFragment(const Reply& reply, const std::string& what) {
  ASSERT_EQ(reply.status, 200) << what << reply.body.substr(0, 500);
  EXPECT_EQ(reply.Header("Content-Type"), "video/MP2T") << what;
  EXPECT_EQ(reply.Header("Cache-Control"), "private, max-age=300") << what;
  EXPECT_TRUE(!reply.body.empty() && reply.body.size() % kPacket == 0 && reply.body[0] == 'G') << what;
  ExpectForAnyOriginOnce(reply, what);
}

void ExpectRefused(const Reply& reply, int status, int code, const std::string& what) {
  EXPECT_EQ(reply.status, status) << what << reply.body.substr(0, 200);
  EXPECT_EQ(CodeOf(reply), code) << what;
  EXPECT_EQ(reply.Header("Cache-Control"), "no-store") << what;
  ExpectForAnyOriginOnce(reply, what);
}

void ExpectOnTime(const Playlist& playlist, size_t number, const std::string& fragment) {
  const auto first = playlist.durations.begin();
  const double start = std::accumulate(first, first + static_cast<std::ptrdiff_t>(number), kOrigin);
  const std::vector<FragmentTrack> tracks = TracksOf(fragment);
  EXPECT_FALSE(tracks.empty()) << playlist.addresses[number];
  for (const FragmentTrack& track : tracks)
    EXPECT_NEAR(track.start, start, kOneFrame) << track.codec << " in " << playlist.addresses[number];
}

}  // namespace kinora::test
