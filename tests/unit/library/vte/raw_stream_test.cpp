// The life of a raw stream with the real platform: opened, served, swept, closed.
#include <gmock/gmock.h>
#include <syslog.h>

#include <cstdlib>

#include "contract/media/database.h"
#include "library/vte/streamer_dispatch.h"
#include "tests/fakes/standard_output.h"
#include "tests/fakes/stream_test.h"
#include "tests/fakes/system_log.h"
#include "tests/fakes/workspace.h"

namespace fs = std::filesystem;

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::StandardOutput;
using std::chrono::seconds;
using testing::AllOf;
using testing::Each;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

const fs::path kSettings = "/var/packages/Kinora/etc/kinora.conf";
const fs::path kDatabase = "/var/packages/Kinora/var/database/kinora.db";

struct Answer {
  bool success;
  std::string text;
};

class RawStream : public kinora::fakes::StreamTest, protected kinora::fakes::Workspace {
 protected:
  void SetUp() override {
    Enter();
    if (HasFatalFailure()) return;
    setenv("REQUEST_METHOD", "GET", 1);
    unsetenv("HTTP_RANGE");
    film_ = PutFilm("silent.mp4", "a film.mp4");
    film_content_ = Content(film_);
  }
  void TearDown() override {
    Leave();
    fs::remove(kSettings);
    fs::remove(kDatabase);
  }

  fs::path PutFilm(const std::string& medium, const std::string& name) {
    fs::copy_file(fs::path(KINORA_MEDIA_DIR) / medium, volume_ / name);
    return volume_ / name;
  }

  static Answer Stream(const std::string& id) {
    const StandardOutput output;
    const std::unique_ptr<Streamer> streamer = GetStreamerAPI(id, "raw");
    const bool success = streamer->Stream();
    return {success, output.Text()};
  }

  fs::path WorkingFolder(const std::string& id) const { return fs::read_symlink(workspace_ / "RAW" / id); }

  fs::path film_;
  std::string film_content_;
};

TEST_F(RawStream, OpensServesAndCloses) {
  const StreamIniter opened = Open(film_, "raw");
  EXPECT_EQ(opened.stream_format, "raw");
  EXPECT_THAT(opened.stream_id, MatchesRegex("[a-z0-9]+"));
  EXPECT_GE(opened.stream_id.size(), 26U);  // 128 bits take as many of these characters
  const fs::path folder = WorkingFolder(opened.stream_id);
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  EXPECT_EQ(Content(folder / "filepath"), film_);
  EXPECT_EQ(Content(folder / "container"), "");  // no database knows the film

  const Answer answer = Stream(opened.stream_id);
  EXPECT_TRUE(answer.success);
  EXPECT_THAT(answer.text,
              AllOf(StartsWith("Accept-Ranges: bytes\r\n"), HasSubstr("\r\nContent-Type: video/mp4\r\n"),
                    HasSubstr("\r\nContent-Length: " + std::to_string(film_content_.size()) + "\r\n"),
                    EndsWith("\r\n\r\n" + film_content_)));
  EXPECT_EQ(answer.text.find("Accept-Ranges", 1), std::string::npos);

  EXPECT_TRUE(CloseHandler(opened.stream_id, opened.stream_format));
  EXPECT_FALSE(IsThere("RAW", opened.stream_id));
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_EQ(Content(film_), film_content_);
  // The format rules give their reasons; nothing else has anything to say.
  EXPECT_THAT(kinora::fakes::LogLines(), Each(Field(&kinora::fakes::LogLine::priority, LOG_DEBUG)));

  EXPECT_FALSE(Stream(opened.stream_id).success);
  EXPECT_EQ(Stream(opened.stream_id).text, "");
  EXPECT_TRUE(CloseHandler(opened.stream_id, opened.stream_format));
}

TEST_F(RawStream, AnswersARange) {
  const StreamIniter opened = Open(film_, "raw");
  setenv("HTTP_RANGE", "bytes=4-7", 1);
  const Answer answer = Stream(opened.stream_id);
  EXPECT_TRUE(answer.success);
  EXPECT_THAT(answer.text,
              AllOf(StartsWith("Accept-Ranges: bytes\r\n"), HasSubstr("Status: 206"),
                    HasSubstr("\r\nContent-Range: bytes 4-7/" + std::to_string(film_content_.size())),
                    EndsWith("\r\n\r\nftyp")));
}

TEST_F(RawStream, ServesAQuickTimeFileAsMp4) {
  const StreamIniter opened = Open(PutFilm("h264_aac.mov", "film.mov"), "raw");
  EXPECT_THAT(Stream(opened.stream_id).text, HasSubstr("\r\nContent-Type: video/mp4\r\n"));
}

TEST_F(RawStream, EveryOpenHasAStreamOfItsOwn) {
  const StreamIniter one = Open(film_, "raw");
  const StreamIniter two = Open(film_, "raw");
  EXPECT_NE(one.stream_id, two.stream_id);
  EXPECT_TRUE(CloseHandler(one.stream_id, "raw"));
  EXPECT_TRUE(Stream(two.stream_id).success);
}

TEST_F(RawStream, OpensNothingThatIsNotThereOrNoVideo) {
  const fs::path text = volume_ / "playlist.mp4";
  PutFile(text, "#EXTM3U\n#EXTINF:1,\n/etc/passwd\n");
  const fs::path empty = volume_ / "empty.mp4";
  PutFile(empty, "");
  for (const std::string& path : {std::string("/nonexistent/film.mp4"), text.string(), empty.string()}) {
    ExpectError(1211, "Failed to get track information " + path, [&] { Open(path, "raw"); });
  }
  EXPECT_FALSE(fs::exists(workspace_ / "RAW"));
}

TEST_F(RawStream, FailsWithoutABodyWhenTheFilmHasVanished) {
  const StreamIniter opened = Open(film_, "raw");
  fs::remove(film_);
  const Answer answer = Stream(opened.stream_id);
  EXPECT_FALSE(answer.success);
  EXPECT_EQ(answer.text, "Accept-Ranges: bytes\r\n");
  EXPECT_THAT(kinora::fakes::LogTexts(),
              testing::Contains("vte/raw:# VTE - Failed to stream out RAW[" + film_.string() + "]"));
  EXPECT_TRUE(CloseHandler(opened.stream_id, "raw"));
}

TEST_F(RawStream, OpensNothingWhenNoVolumeHasTheSpace) {
  PutFile(kSettings, "free_space_floor=\"1000T\"\n");
  ExpectError(1203, "There are not enough volume space for streaming. Need space 1048576",
              [&] { Open(film_, "raw"); });
  EXPECT_TRUE(fs::is_empty(workspace_ / "RAW"));
}

TEST_F(RawStream, OpensNothingWhenTheDatabaseIsCorrupt) {
  fs::create_directories(kDatabase.parent_path());
  PutFile(kDatabase, std::string(8192, 'x'));
  EXPECT_THROW(Open(film_, "raw"), LibKinora::db::Failure);
  EXPECT_EQ(Content(kDatabase), std::string(8192, 'x'));
}

TEST_F(RawStream, OfTwentyAbandonedOnesTheNextOpenClosesThoseWithAnOldMark) {
  std::vector<std::string> ids;
  std::vector<fs::path> folders;
  for (int i = 0; i < 20; ++i) {
    ids.push_back(Open(film_, "raw").stream_id);
    folders.push_back(WorkingFolder(ids.back()));
  }
  for (size_t i = 0; i < 12; ++i) PutMark("RAW", ids[i], i < 8 ? seconds(61 + i) : seconds(5));
  const std::string last = Open(film_, "raw").stream_id;
  for (size_t i = 0; i < ids.size(); ++i) {
    EXPECT_EQ(IsThere("RAW", ids[i]), i >= 8) << i;
    EXPECT_EQ(fs::exists(folders[i]), i >= 8) << i;
  }
  EXPECT_TRUE(IsThere("RAW", last));
  EXPECT_EQ(Content(film_), film_content_);
}

}  // namespace
}  // namespace crvnkn::webapi::vte
