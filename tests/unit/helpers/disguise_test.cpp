// Files that are not what their names say, and media that refer to other files: nothing else is opened,
// nothing is asked of the network, nothing of another file shows in an answer.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <string>
#include <vector>

#include "platform/base/descriptor.h"
#include "tests/unit/helpers/box_file.h"
#include "tests/unit/helpers/copying.h"
#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {
namespace {

constexpr char kCanary[] = "canary-5f1c9a";

// Somebody on the loopback network who notices being called.
class Listener {
 public:
  Listener() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(socket_.Get(), generic, size), 0);
    EXPECT_EQ(::listen(socket_.Get(), 16), 0);
    ::getsockname(socket_.Get(), generic, &size);
    port_ = ntohs(address.sin_port);
  }
  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
  bool WasCalled() const {
    pollfd event{socket_.Get(), POLLIN, 0};
    return ::poll(&event, 1, 0) > 0;
  }

 private:
  base::Descriptor socket_;
  uint16_t port_ = 0;
};

class Disguise : public testing::Test {
 protected:
  void SetUp() override { WriteWhole(secret_, kCanary); }

  std::string Url() const { return "http://" + listener_.Address() + "/a.ts"; }
  std::string Playlist() const {
    return "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\n" + Url() +
           "\n#EXTINF:5,\nfile://" + secret_ + "\n#EXT-X-ENDLIST\n";
  }

  std::string Put(const std::string& name, const std::string& bytes) const {
    WriteWhole(folder_.File(name), bytes);
    return folder_.File(name);
  }

  void ExpectNothingTold(const Ended& ended) const {
    EXPECT_EQ((ended.output + ended.errors).find(kCanary), std::string::npos);
    EXPECT_FALSE(listener_.WasCalled());
  }

  // All helpers refuse it as no media file.
  void ExpectRefused(const std::string& file) const {
    SCOPED_TRACE(file);
    for (const Ended& ended : {Probe(file), TakePicture(file, 320)}) {
      EXPECT_EQ(ended.status, 65) << ended.errors;
      EXPECT_TRUE(ended.output.empty());
      ExpectNothingTold(ended);
    }
    const std::vector<Ended> cut = CutAndCopy(file, folder_);
    EXPECT_EQ(cut.size(), 1U);
    EXPECT_EQ(cut.front().status, 65) << cut.front().errors;
    ExpectNothingTold(cut.front());
  }

  // All helpers take it for what it is without what it refers to.
  void ExpectHarmless(const std::string& file) const {
    SCOPED_TRACE(file);
    for (const Ended& ended : {Probe(file), TakePicture(file, 320)}) {
      EXPECT_LE(ended.status, 66) << ended.errors;
      ExpectNothingTold(ended);
    }
    for (const Ended& ended : CutAndCopy(file, folder_)) {
      EXPECT_LE(ended.status, 66) << ended.errors;
      ExpectNothingTold(ended);
    }
  }

  std::string ReferringMp4(const std::string& entries) const {
    return WithBox(ReadWhole(MediaFile("moov_last.mp4")), {"moov", "trak", "mdia", "minf", "dinf", "dref"},
                   BigEndian32(0) + BigEndian32(1) + entries);
  }
  std::string AliasEntry() const;
  std::string AviWithSubtitles(const std::string& text) const;

  ScratchFolder folder_;
  Listener listener_;
  const std::string secret_ = folder_.File("secret.ts");
};

TEST_F(Disguise, PlaylistsAndListsOfFilesAreRefused) {
  const std::string path = "file '" + secret_ + "'\n";
  const struct {
    const char* name;
    std::string text;
  } cases[] = {
      {"hls.mp4", Playlist()},
      {"hls.mkv", Playlist()},
      {"master.mp4", "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\n" + Url() + "\n"},
      {"plain.mp4", "#EXTM3U\n" + secret_ + "\n"},
      {"list.m3u.mp4", Url() + "\n" + secret_ + "\n"},
      {"concat.mp4", "ffconcat version 1.0\n" + path + "file '" + Url() + "'\n"},
      {"concat.mkv", "ffconcat version 1.0\n" + path},
      {"session.mp4",
       "v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=x\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\nm=video 9 RTP/AVP 96\r\n"
       "a=rtpmap:96 H264/90000\r\n"},
      {"dash.mp4",
       "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
       "mediaPresentationDuration=\"PT5S\"><Period><AdaptationSet><Representation id=\"1\" "
       "bandwidth=\"1\"><BaseURL>" +
           Url() + "</BaseURL></Representation></AdaptationSet></Period></MPD>"},
      {"asx.mp4", "<asx version=\"3.0\"><entry><ref href=\"" + Url() + "\"/></entry></asx>"},
      {"reference.mp4", "[Reference]\nRef1=" + Url() + "\n"},
      {"stream.mp4", "rtsp://" + listener_.Address() + "/x\n"},
      {"vobsub.mp4", "# VobSub index file, v7 (do not modify this line!)\nid: en, index: 0\n"},
      {"frame%03d.jpg", ReadWhole(MediaFile("cover_frame.jpg"))},
      {"words.mp4", ReadWhole(MediaFile("words.srt"))},
  };
  for (const auto& row : cases) ExpectRefused(Put(row.name, row.text));
}

// The corpus would bite: read without our care, the same file makes a call.
TEST_F(Disguise, PlaylistsCallTheNetworkWhenReadWithoutCare) {
  RunProgram({"timeout", "-s", "KILL", "2", "ffprobe", "-v", "quiet", "-protocol_whitelist", "file,http,tcp",
              Put("hls.mp4", Playlist())});
  EXPECT_TRUE(listener_.WasCalled());
}

TEST_F(Disguise, FileNamesAreNeverReadAsPatternsOrProtocols) {
  const std::string film = ReadWhole(MediaFile("vp9_opus.webm"));
  for (const char* name :
       {"concat:a|b.webm", "-i.webm", "film%03d.webm", "subfile,,start,0,end,1,,:x.webm"}) {
    EXPECT_EQ(Probe(Put(name, film)).status, 0) << name;
  }
}

TEST_F(Disguise, TextBehindAValidHeaderIsNotFollowed) {
  const std::string film = ReadWhole(MediaFile("h264_aac.mp4"));
  ExpectHarmless(Put("appended.mp4", film + Playlist()));
  ExpectHarmless(Put("appended.mkv", ReadWhole(MediaFile("h264_ac3.mkv")) + Playlist()));
  ExpectHarmless(Put("head.mp4", Box("ftyp", "isom" + BigEndian32(0) + "isom") + Playlist()));
  ExpectHarmless(Put("head.mkv", ReadWhole(MediaFile("h264_ac3.mkv")).substr(0, 64) + Playlist()));
  ExpectHarmless(Put("reversed.mp4", Playlist() + film));
}

// The parts of an alias record that name a file, one level up and down.
std::string Disguise::AliasEntry() const {
  std::string record(10, '\0');
  record += std::string(28, '\0') + std::string(12, '\0');
  std::string name = "secret.ts";
  record +=
      static_cast<char>(name.size()) + name + std::string(63 - name.size(), '\0') + std::string(16, '\0');
  record += BigEndian16(1) + BigEndian16(1) + std::string(16, '\0');
  record += BigEndian16(2) + BigEndian16(static_cast<uint16_t>(secret_.size())) + secret_;
  if (secret_.size() % 2 == 1) record += '\0';
  return Box("alis", BigEndian32(0) + record + BigEndian16(0xFFFF) + BigEndian16(0));
}

TEST_F(Disguise, ReferencesInsideAnMp4AreNotFollowed) {
  ExpectHarmless(Put("alias.mp4", ReferringMp4(AliasEntry())));
  ExpectHarmless(Put("url.mp4", ReferringMp4(Box("url ", BigEndian32(0) + Url() + '\0'))));
  const std::string reference = Box("rdrf", BigEndian32(0) + "url " + BigEndian32(99) + Url() + '\0');
  ExpectHarmless(Put("movie.mov", Box("ftyp", "qt  " + BigEndian32(0) + "qt  ") +
                                      Box("moov", Box("rmra", Box("rmda", reference)))));
}

// AVI files may hold a whole subtitle file in one chunk ("GAB2"), which the demuxer probes anew: a way in for
// a playlist. The sound track of a film is made such a track.
std::string Disguise::AviWithSubtitles(const std::string& text) const {
  using std::string_literals::operator""s;
  std::string avi = ReadWhole(MediaFile("mpeg4_mp3.avi"));
  avi.replace(avi.find("auds"), 4, "txts");
  const std::string head = "GAB2\0\x02\0"s + std::string(4, '\0') + "\x04\0"s + std::string(4, '\0');
  const size_t chunk = avi.find("01wb", avi.find("movi")) + 8;
  std::string content = head + text;
  content.resize(std::max<size_t>(content.size(), 280), '\n');
  avi.replace(chunk, content.size(), content);
  return avi;
}

TEST_F(Disguise, PlaylistsInASubtitleTrackOfAnAviAreNotFollowed) {
  ExpectHarmless(Put("subtitles.avi", AviWithSubtitles("#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\n" +
                                                       Url() + "\n#EXT-X-ENDLIST\n")));
}

// What the system sees: after the libraries are loaded nothing is opened, not even in vain.
TEST_F(Disguise, NothingIsEvenTried) {
  const std::string trace = folder_.File("trace");
  if (RunProgram({"sh", "-c", "command -v strace && strace -o /dev/null true"}).status != 0) {
    GTEST_SKIP() << "strace is missing, or may not trace here";
  }
  const std::string files[] = {Put("hls.mp4", Playlist()), Put("alias.mp4", ReferringMp4(AliasEntry())),
                               Put("subtitles.avi", AviWithSubtitles(Playlist().substr(0, 100))),
                               MediaFile("h264_aac.mp4")};
  for (const std::string& file : files) {
    for (const auto& program : {std::vector<std::string>{ProbeProgram()},
                                {PictureProgram(), "320"},
                                {std::string(KINORA_BUILD_DIR) + "/helpers/kinora-index", "--scan"}}) {
      SCOPED_TRACE(file + " " + program[0]);
      std::vector<std::string> arguments = {
          "strace", "-f", "-qq", "-o", trace, "-e", "trace=%file,%network,prctl,fork,vfork,clone,clone3"};
      arguments.insert(arguments.end(), program.begin(), program.end());
      RunOn(file, arguments);
      const std::string calls = ReadWhole(trace);
      const size_t start = calls.find("PR_SET_NO_NEW_PRIVS");
      ASSERT_NE(start, std::string::npos) << calls;
      const std::string after = calls.substr(calls.find('\n', start));
      for (const char* call : {"open", "socket", "connect", "exec", "fork", "clone", "stat("}) {
        EXPECT_EQ(after.find(call), std::string::npos) << after;
      }
    }
  }
}

}  // namespace
}  // namespace kinora::helper
