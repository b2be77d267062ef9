// Many clients at once, clients that vanish, and sources that change under those who watch.
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iostream>
#include <thread>

#include "platform/system/places.h"
#include "tests/faults/cgi.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kFilm[] = "h264_aac.mp4";

bool NoRequestProcessIsLeft(const House& house) {
  // The listener itself is one; a child of it bears the same command line.
  return DescendantsLike(house.Pid(), "entry.cgi").size() == 1;
}

bool NoHelperIsLeft(const House& house) {
  // But the zygote, whose children bear its command line.
  return DescendantsLike(house.Pid(), "/libexec/").size() == 1;
}

// Kilobytes that the processes do not share with others, summed up.
size_t PrivateMemory(const std::vector<pid_t>& pids) {
  size_t sum = 0;
  for (const pid_t pid : pids) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    for (std::string word; file >> word;) {
      size_t size = 0;
      if ((word == "Private_Clean:" || word == "Private_Dirty:") && file >> size) sum += size;
    }
  }
  return sum;
}

std::string StreamRequest(const SignedIn& who, const std::string& stream) {
  return Wire({"Stream", "stream", {{"id", stream}, {"format", "raw"}}, "GET", who.sid});
}

std::vector<std::string> FilmNames(int count) {
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) names.push_back("film " + std::to_string(i) + ".mp4");
  return names;
}

// A catalog with that many small films more, all of them alike.
void AddFilms(const House& house, const SignedIn& who, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    fs::copy_file(fs::path(KINORA_MEDIA_DIR) / "surround.mp4", house.Share() / name);
    fs::last_write_time(house.Share() / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  EXPECT_EQ(CodeOf(house.Send({"Catalog", "rescan", {}, "POST", who.sid, who.token})), 0);
  const auto total = [&] {
    const Reply reply = house.Send({"Catalog", "list", {{"limit", "1"}}, "GET", who.sid});
    return ParseJson(reply.body)["result"]["total"].asUInt();
  };
  // Each is looked at by a helper of its own.
  for (int patience = 0; patience < 3 && total() <= names.size(); ++patience) {
    Eventually([&] { return total() == names.size() + 1; });
  }
  ASSERT_EQ(total(), names.size() + 1) << house.Log();
}

}  // namespace

TEST(ParallelOpens, OfDifferentFilmsAreAllAnsweredInBoundedMemory) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::vector<std::string> names = FilmNames(49);
  ASSERT_NO_FATAL_FAILURE(AddFilms(house, ann, names));
  const std::string share = DigestOf(house.Share());
  const Reply list = house.Send({"Catalog", "list", {{"limit", "1000"}}, "GET", ann.sid});
  std::vector<int> films;
  const Json::Value document = ParseJson(list.body);
  for (const Json::Value& video : document["result"]["videos"]) films.push_back(video["id"].asInt());
  ASSERT_EQ(films.size(), 50U);
  const std::vector<int> once = films;
  for (int i = 0; i < 3; ++i) films.insert(films.end(), once.begin(), once.end());

  std::vector<int> codes(films.size(), -2);
  std::atomic<bool> over = false;
  size_t most_processes = 0;
  size_t most_memory = 0;
  std::thread watcher([&] {
    while (!over) {
      const std::vector<pid_t> all = Descendants(house.Pid());
      most_processes = std::max(most_processes, all.size());
      most_memory = std::max(most_memory, PrivateMemory(all));
    }
  });
  std::vector<std::thread> clients;
  for (size_t i = 0; i < films.size(); ++i) {
    clients.emplace_back([&, i] { codes[i] = CodeOf(house.Open(ann, films[i])); });
  }
  for (std::thread& client : clients) client.join();
  over = true;
  watcher.join();

  EXPECT_EQ(codes, std::vector<int>(films.size(), 0));
  EXPECT_EQ(StreamLinks().size(), films.size());
  EXPECT_LE(most_processes, 2 * films.size() + 10) << "a process and a helper for each, and the service";
  EXPECT_LE(most_memory, 3U << 20) << "kilobytes";
  RecordProperty("most_processes", static_cast<int>(most_processes));
  RecordProperty("most_kilobytes", static_cast<int>(most_memory));
  std::cout << most_processes << " processes, " << most_memory << " kB at most\n";
  EXPECT_TRUE(Eventually([&] { return NoRequestProcessIsLeft(house) && NoHelperIsLeft(house); }));
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
  EXPECT_EQ(DigestOf(house.Share()), share);
}

TEST(Clients, ThatVanishInMidBodyLeaveNothing) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, kFilm));
  const uintmax_t size = fs::file_size(house.Share() / kFilm);
  fs::resize_file(house.Share() / kFilm, 1ULL << 30);
  {
    std::vector<std::unique_ptr<Connection>> clients;
    for (int i = 0; i < 100; ++i) {
      clients.push_back(std::make_unique<Connection>(house.Port()));
      clients.back()->Send(StreamRequest(ann, stream));
    }
    for (const auto& client : clients) EXPECT_GE(client->ReadAtLeast(10'000).size(), 10'000U);
    EXPECT_GE(DescendantsLike(house.Pid(), "entry.cgi").size(), 101U) << "all are being served";
    // Half of them break off, half say good-bye.
    for (size_t i = 0; i < clients.size(); i += 2) clients[i]->Abort();
  }
  EXPECT_TRUE(Eventually([&] { return NoRequestProcessIsLeft(house); }));
  fs::resize_file(house.Share() / kFilm, size);
  EXPECT_EQ(house.Stream(ann, stream).body, ReadWhole(house.Share() / kFilm)) << "and the next is served";
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
}

TEST(Clients, ThatVanishBeforeTheirAnswerLeaveNothing) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string film = std::to_string(house.FilmId(ann, kFilm));
  for (int i = 0; i < 50; ++i) {
    Connection client(house.Port());
    client.Send(
        Wire({"Film", "picture", {{"id", film}, {"width", std::to_string(100 + i)}}, "GET", ann.sid}));
    client.Abort();
  }
  EXPECT_TRUE(Eventually([&] { return NoRequestProcessIsLeft(house) && NoHelperIsLeft(house); }));
  EXPECT_EQ(ScratchFiles(), std::vector<std::string>{});
  EXPECT_EQ(house.Send({"Film", "picture", {{"id", film}}, "GET", ann.sid}).status, 200);
}

TEST(SourceDuringPlay, ThatIsCutShortEndsTheAnswerShort) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, kFilm));
  fs::resize_file(house.Share() / kFilm, 1ULL << 30);
  Connection client(house.Port());
  client.Send(StreamRequest(ann, stream));
  const std::string begun = client.ReadAtLeast(100'000);
  EXPECT_NE(begun.find("Content-Length: 1073741824\r\n"), std::string::npos) << begun.substr(0, 500);
  fs::resize_file(house.Share() / kFilm, 1'000);
  const size_t rest = client.ReadAtLeast(1ULL << 30).size();
  EXPECT_LT(begun.size() + rest, 1ULL << 29) << "the connection ends before the announced length";
  EXPECT_TRUE(Eventually([&] { return NoRequestProcessIsLeft(house); }));
  EXPECT_EQ(house.Stream(ann, stream).body.size(), 1'000U) << "the next answer is about what is there";
}

TEST(SourceDuringPlay, ThatIsDeletedPlaysToItsEnd) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, kFilm));
  fs::resize_file(house.Share() / kFilm, 64U << 20);
  Connection client(house.Port());
  client.Send(StreamRequest(ann, stream));
  std::string all = client.ReadAtLeast(100'000);
  fs::remove(house.Share() / kFilm);
  all += client.ReadAtLeast((64U << 20) + all.find("\r\n\r\n") + 4 - all.size());
  EXPECT_EQ(all.size() - all.find("\r\n\r\n") - 4, 64U << 20);
  EXPECT_EQ(house.Stream(ann, stream).status, 404) << "who comes later is told";
}

TEST(SourceDuringPlay, OnAVolumeThatIsUnmountedIsNotThereUntilItIsBack) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const fs::path folder = house.Share() / "disk";
  const std::string film = ReadWhole(house.Share() / kFilm);
  const auto mount = [&] {
    auto volume = std::make_unique<SmallVolume>(folder, "16M");
    if (!*volume) return std::unique_ptr<SmallVolume>();
    std::ofstream(folder / "film.mp4", std::ios::binary) << film;
    fs::last_write_time(folder / "film.mp4", fs::file_time_type::clock::now() - std::chrono::hours(1));
    return volume;
  };
  std::unique_ptr<SmallVolume> volume = mount();
  if (!volume) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(CodeOf(house.Send({"Catalog", "rescan", {}, "POST", ann.sid, ann.token})), 0);
  ASSERT_TRUE(Eventually([&] {
    return ParseJson(house.Send({"Catalog", "list", {}, "GET", ann.sid}).body)["result"]["total"].asInt() ==
           2;
  }));
  const std::string stream = house.OpenStream(ann, house.FilmId(ann, "film.mp4"));
  EXPECT_EQ(house.Stream(ann, stream).body, film);
  volume.reset();
  EXPECT_EQ(house.Stream(ann, stream).status, 404);
  EXPECT_TRUE(fs::is_empty(folder)) << "nothing is made in the place where it was mounted";
  volume = mount();
  EXPECT_EQ(house.Stream(ann, stream).body, film) << "it goes on";
}
