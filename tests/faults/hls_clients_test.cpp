// Viewers of streams in fragments who vanish while a fragment is made for them or comes to them.
#include <gtest/gtest.h>

#include "tests/faults/cgi.h"
#include "tests/faults/long_film.h"
#include "tests/http/hls_expectations.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kCopied[] = "h264_aac.mp4";
constexpr char kSound[] = "h264_ac3.mkv";
constexpr size_t kAtOnce = 25;

struct Vanishing {
  const char* name;
  const char* film;
  const char* format;
  std::vector<std::string> fragments;
  int clients;
};
void PrintTo(const Vanishing& vanishing, std::ostream* out) { *out << vanishing.name; }

class HlsClients : public testing::TestWithParam<Vanishing> {};
INSTANTIATE_TEST_SUITE_P(
    Ways, HlsClients,
    testing::Values(Vanishing{"OfCopiedFragments", kCopied, "hls_remux", {"0", "1", "2", "3"}, 100},
                    Vanishing{"OfSoundThatIsEncoded", kSound, "hls_remux", {"a1_0", "a1_1"}, 25},
                    Vanishing{"OfEncodedFragments", kLongFilm, "hls", {"0", "25", "1", "12"}, 75}),
    [](const auto& instance) { return instance.param.name; });

}  // namespace

// Two hundred in all. Some leave before there is an answer, others with a part of it.
TEST_P(HlsClients, ThatVanishLeaveNothing) {
  const House house({kCopied, kSound}, std::string(kShortRunAhead) + "idle_seconds=\"2\"\n");
  const HlsViewer ann(house, house.SignIn("ann"));
  AddLongFilm(house, ann.Who(), 6);
  const HlsStream stream = ann.Open(GetParam().film, GetParam().format);
  const fs::path folder = fs::canonical(stream.Folder());
  std::vector<std::unique_ptr<Connection>> clients;
  for (int i = 0; i < GetParam().clients; ++i) {
    const std::string& fragment = GetParam().fragments[static_cast<size_t>(i) % GetParam().fragments.size()];
    clients.push_back(std::make_unique<Connection>(house.Port()));
    clients.back()->Send("GET " + ann.Address(stream, {{"fragment", fragment}}) +
                         " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
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
    EXPECT_FALSE(entry.is_directory() || name.find(".ts.") != std::string::npos) << name;
  }
  for (const std::string& fragment : GetParam().fragments) {
    const std::string address = ann.Address(stream, {{"fragment", fragment}});
    ExpectFragment(Persist([&] { return ann.Get(address); }), fragment);
  }
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_TRUE(Eventually([&] { return ProcessesIn(folder).empty(); }));
  EXPECT_FALSE(fs::exists(folder));
}
