// Viewers by Smooth Streaming who vanish while a chunk is made for them or comes to them.
#include <gtest/gtest.h>

#include <memory>

#include "tests/faults/long_film.h"
#include "tests/http/smooth_expectations.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "bulky.mkv";  // 150 seconds
constexpr size_t kAtOnce = 25;
constexpr size_t kClients = 100;

}  // namespace

// Some leave before there is an answer, others with a part of it.
TEST(SmoothClients, ThatVanishLeaveNothing) {
  const House house({kFilm}, std::string(kShortRunAhead) + "idle_seconds=\"2\"\n");
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const std::vector<SmoothTrack> tracks = ann.Tracks(stream);
  ASSERT_EQ(tracks.size(), 2U);
  const fs::path folder = fs::canonical(stream.Folder());
  const std::vector<std::pair<size_t, size_t>> chunks = {{0, 0}, {1, 0}, {0, 20}, {1, 20}, {0, 1}, {0, 10}};
  std::vector<std::unique_ptr<Connection>> clients;
  for (size_t i = 0; i < kClients; ++i) {
    const auto& [track, number] = chunks[i % chunks.size()];
    const std::string address = ann.Path(stream, tracks[track].ChunkAt(tracks[track].starts[number]));
    clients.push_back(std::make_unique<Connection>(house.Port()));
    clients.back()->Send("GET " + address + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    if (i == 0) {
      EXPECT_GT(clients.back()->ReadAtLeast(1000).size(), 0U);
    }
    if (clients.size() < kAtOnce) continue;
    for (const auto& client : clients) client->Abort();
    clients.clear();
  }
  clients.clear();
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  for (const auto& entry : fs::directory_iterator(folder / "work")) {
    const std::string name = entry.path().filename();
    EXPECT_FALSE(entry.is_directory() || name.find(".m4s.") != std::string::npos) << name;
    EXPECT_FALSE(name.starts_with('a') && !name.ends_with(".m4s")) << name;
  }
  for (const auto& [track, number] : chunks) ExpectChunkOf(ann, stream, tracks[track], number);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  EXPECT_FALSE(fs::exists(folder));
}
