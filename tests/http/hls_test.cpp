// Films by HTTP Live Streaming, from opening to closing, copied and encoded.
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "tests/http/hls_expectations.h"

using namespace kinora::test;
namespace fs = std::filesystem;

namespace {

constexpr char kCopied[] = "h264_ac3.mkv";
constexpr char kEncoded[] = "mpeg2_mp2.mpg";
constexpr char kOpenGroups[] = "open_groups.mkv";

struct Film {
  const char* name;  // of the test
  const char* file;
  const char* format;
  size_t playlists;  // of media: one of the picture, one of each sound of its own
  size_t
      pictures;  // of those that are encoded one more than filmed: their sound is longer by less than a frame
  size_t subtitles = 0;
};
void PrintTo(const Film& film, std::ostream* out) { *out << film.file << " as " << film.format; }
std::string NameOf(const testing::TestParamInfo<Film>& instance) { return instance.param.name; }

class HlsFilm : public testing::TestWithParam<Film> {};
INSTANTIATE_TEST_SUITE_P(Ways, HlsFilm,
                         testing::Values(Film{"CopiedWithEncodedSound", kCopied, "hls_remux", 2, 250},
                                         Film{"Copied", "h264_aac.mp4", "hls_remux", 1, 500},
                                         Film{"CopiedWithTwoTracks", "languages.mkv", "hls_remux", 3, 200, 2},
                                         Film{"Encoded", kEncoded, "hls", 1, 151},
                                         Film{"EncodedFromAvi", "mpeg4_mp3.avi", "hls", 1, 181}),
                         NameOf);

class HlsWay : public testing::TestWithParam<Film> {};
INSTANTIATE_TEST_SUITE_P(Ways, HlsWay,
                         testing::Values(Film{"Copied", kCopied, "hls_remux", 2, 250},
                                         Film{"Encoded", kEncoded, "hls", 1, 151}),
                         NameOf);

// How many pictures ffmpeg gets out of the stream when it plays it from beginning to end.
size_t PicturesPlayed(const House& house, const std::string& address) {
  const fs::path frames = fs::temp_directory_path() / "frames";
  Process ffmpeg({"/usr/bin/ffmpeg", "-nostdin", "-v", "error", "-i",
                  "http://127.0.0.1:" + std::to_string(house.Port()) + address, "-map", "0:v:0", "-map",
                  "0:a:0", "-f", "framecrc", "-"},
                 frames, fs::temp_directory_path() / "ffmpeg.log");
  EXPECT_EQ(ffmpeg.Wait(), 0) << ReadWhole(fs::temp_directory_path() / "ffmpeg.log");
  std::ifstream lines(frames);
  size_t pictures = 0;
  size_t sounds = 0;
  for (std::string line; std::getline(lines, line);) {
    pictures += line.starts_with("0,") ? 1 : 0;
    sounds += line.starts_with("1,") ? 1 : 0;
  }
  EXPECT_GT(sounds, 0U);
  return pictures;
}

}  // namespace

TEST_P(HlsFilm, IsOpenedFetchedPlayedAndClosed) {
  const House house({GetParam().file});
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(GetParam().file, GetParam().format);
  EXPECT_EQ(stream.format, GetParam().format);

  const Reply reply = ann.Get(ann.Address(stream, {}));
  ExpectPlaylist(reply, "master");
  const Playlist master = ParsePlaylist(reply.body);
  for (const std::string& address : master.addresses) ExpectPlaylist(ann.Get(address), address);
  for (const std::string& address : master.renditions) ExpectPlaylist(ann.Get(address), address);
  for (const std::string& address : master.subtitles) ExpectPlaylist(ann.Get(address), address);
  EXPECT_EQ(master.subtitles.size(), GetParam().subtitles) << master.text;
  const std::vector<Playlist> playlists = ann.MediaPlaylists(stream);
  EXPECT_EQ(playlists.size(), GetParam().playlists) << master.text;
  for (const Playlist& playlist : playlists) {
    EXPECT_TRUE(playlist.Has("#EXT-X-PLAYLIST-TYPE:VOD") && playlist.Has("#EXT-X-ENDLIST")) << playlist.text;
    const size_t count = playlist.addresses.size();
    ASSERT_GT(count, 0U);
    ASSERT_EQ(playlist.durations.size(), count);
    for (const size_t number : std::set<size_t>{0, count / 2, count - 1}) {
      const Reply fragment = ann.Get(playlist.addresses[number]);
      ExpectFragment(fragment, playlist.addresses[number]);
      ExpectOnTime(playlist, number, fragment.body);
    }
  }
  EXPECT_EQ(PicturesPlayed(house, ann.Address(stream, {})), GetParam().pictures) << house.Log();

  const fs::path folder = fs::canonical(stream.Folder());
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_FALSE(fs::is_symlink(stream.Folder()) || fs::exists(folder));
  EXPECT_TRUE(Eventually([&] { return EncodersIn(folder).empty(); }));
  EXPECT_EQ(CodeOf(ann.Get(ann.Address(stream, {{"fragment", "0"}}))), 128);
}

TEST_P(HlsWay, GivesPartsOfAFragmentAndItsSize) {
  const House house({GetParam().file});
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(GetParam().file, GetParam().format);
  const std::string address = ann.Address(stream, {{"fragment", "0"}});
  const Reply fragment = ann.Get(address);
  ExpectFragment(fragment, address);
  const Reply head = ann.Get(address, {}, "HEAD");
  EXPECT_EQ(head.Header("Content-Length"), std::to_string(fragment.body.size()));
  EXPECT_EQ(head.body, "");
  const Reply part = ann.Get(address, {"Range: bytes=188-375"});
  EXPECT_EQ(part.status, 206);
  EXPECT_TRUE(part.body == fragment.body.substr(188, 188));
}

TEST(HlsAbandonedStreams, GoAtTheNextOpenWhenTheirMarkIsOld) {
  const House house({kCopied});
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stale = ann.Open(kCopied, "hls_remux");
  const HlsStream watched = ann.Open(kCopied, "hls_remux");
  for (const HlsStream& stream : {stale, watched})
    EXPECT_EQ(ann.Get(ann.Address(stream, {{"fragment", "0"}})).status, 200);
  const fs::path work = fs::canonical(stale.Folder());
  fs::last_write_time(stale.Folder() / "access_status",
                      fs::file_time_type::clock::now() - std::chrono::seconds(90));
  const HlsStream next = ann.Open(kCopied, "hls_remux");
  EXPECT_FALSE(fs::is_symlink(stale.Folder()) || fs::exists(work));
  EXPECT_TRUE(fs::is_symlink(watched.Folder()) && fs::is_symlink(next.Folder()));
  EXPECT_EQ(ann.Get(ann.Address(stale, {{"fragment", "0"}})).status, 404);
}

TEST(HlsOpens, ChooseByThemselvesWhatPlays) {
  const House house({kCopied, kEncoded, kOpenGroups});
  const HlsViewer ann(house, house.SignIn("ann"));
  const auto chosen = [&](const char* film) {
    return ParseJson(ann.TryToOpen(film, {}).body)["result"]["format"].asString();
  };
  EXPECT_EQ(chosen(kCopied), "hls_remux");
  EXPECT_EQ(chosen(kEncoded), "hls");
  EXPECT_EQ(chosen(kOpenGroups), "hls") << "the rules would copy it, but it cannot be cut";
}

TEST(HlsOpens, AreRefusedWithTheReason) {
  const House house({kCopied, kEncoded}, "transcoding=\"no\"\n");
  const HlsViewer ann(house, house.SignIn("ann"));
  EXPECT_EQ(CodeOf(ann.TryToOpen(kEncoded, {{"format", "hls"}})), 1200);
  EXPECT_EQ(CodeOf(ann.TryToOpen(kCopied, {{"format", "hls_remux"}, {"audio_format", "AAC"}})), 1204);
  EXPECT_EQ(CodeOf(ann.TryToOpen(kCopied, {{"format", "hls_remux"}, {"audio_track", "77"}})), 1204);
  EXPECT_EQ(CountStreams(), 0U) << "nothing is left of what was refused";
}

TEST(HlsOpens, ByChromecastAreRemembered) {
  const House house({kCopied});
  const HlsViewer ann(house, house.SignIn("ann"));
  const std::string film = std::to_string(house.FilmId(ann.Who(), kCopied));
  const Parameters parameters = {{"id", film}, {"format", "hls_remux"}, {"client", "chromecast"}};
  const auto open = [&](const std::string& agent) {
    return CodeOf(house.Send(
        {"Stream", "open", parameters, "POST", ann.Who().sid, ann.Who().token, {"User-Agent: " + agent}}));
  };
  const auto remembered = [] {
    return ParseJson(ReadWhole("/var/packages/Kinora/etc/Chromecast.userdata"))["user_agent"].asString();
  };
  EXPECT_EQ(open("CrKey/1.56 \"quoted\""), 0);
  EXPECT_EQ(remembered(), "CrKey/1.56 \"quoted\"");
  EXPECT_EQ(open(std::string(5000, 'z')), 0);
  EXPECT_EQ(remembered(), std::string(256, 'z'));
}
