// Subtitles through the whole of the library, the platform and the converter, above all such as nobody should
// have saved.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "library/subtitle/output_subtitle.h"
#include "tests/fakes/stream_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kTimes = "00:00:01,000 --> 00:00:02,000\n";
const std::string kCue = "1\n" + kTimes + "text\n";
const std::string kDocument = "WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n";
const std::string kEmptyDocument = kDocument + "00:00:00.000 --> 00:00:00.000\n";
const std::string kNone = "no answer";

class SubtitleDelivery : public kinora::fakes::StreamTest {
 protected:
  SubtitleDelivery() {
    std::string name = "/tmp/delivery-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    ::chmod(folder_.c_str(), 0755);  // the converter runs under the service's account
    Put("film.mkv", "film");
  }
  ~SubtitleDelivery() override { fs::remove_all(folder_); }

  // Changed a day ago.
  fs::path Put(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ / name, std::ios::binary) << content;
    fs::last_write_time(folder_ / name, fs::file_time_type::clock::now() - std::chrono::hours(24));
    return folder_ / name;
  }
  GetMethodArguments Wish(const std::string& subtitle_id, bool webvtt) const {
    GetMethodArguments wish;
    wish.video_path = folder_ / "film.mkv";
    wish.subtitle_id = subtitle_id;
    wish.output_webvtt = webvtt;
    return wish;
  }
  static std::string Body(const GetMethodArguments& wish) {
    OutputSubtitle subtitle(wish);
    if (!subtitle.Process()) return kNone;
    return subtitle.GetContent().substr(subtitle.GetHeader().size());
  }
  std::string Text(const std::string& subtitle_id) const { return Body(Wish(subtitle_id, false)); }
  std::string Document(const std::string& subtitle_id) const { return Body(Wish(subtitle_id, true)); }

  // Where /tmp is the machine's own, other tests may have theirs there.
  static void ExpectNoScratch() {
    if (std::getenv("KINORA_PLACES") == std::string("real")) return;
    for (const auto& entry : fs::directory_iterator("/tmp"))
      EXPECT_THAT(entry.path().filename(), Not(StartsWith("CRVNVIDEO_")));
  }

  fs::path folder_;
};

TEST_F(SubtitleDelivery, AnswersFromTheSourceAndThenFromTheCache) {
  const fs::path file = Put("film.srt", "1\r\n00:00:01,000 --> 00:00:02,000\r\nse\xf1or <i>x</i>\r\n");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Text(file), "1\n" + kTimes + "señor x\n");
    EXPECT_EQ(Document(file), kDocument + "00:00:01.000 --> 00:00:02.000\nseñor x\n");
  }
  const fs::path cache = folder_ / ".kinora" / "film.srt";
  EXPECT_TRUE(fs::exists(cache / "CRVNVIDEO_2_0_SUBTITLE_V1_auto_enu.srt"));
  EXPECT_TRUE(fs::exists(cache / "CRVNVIDEO_2_0_SUBTITLE_V2_auto_enu.srt"));
  ExpectNoScratch();
  ExpectLog({});
}

TEST_F(SubtitleDelivery, AnswersAnewWhenTheSourceHasChanged) {
  const fs::path file = Put("film.srt", kCue);
  Text(file);
  std::ofstream(file) << "changed\n";  // now, in the second of the cache at the latest
  EXPECT_EQ(Text(file), "changed\n");
}

struct HostileCase {
  const char* name;
  std::string content;
  std::string text;
  std::string document;
};

const std::string kLong(1 << 20, 'x');

TEST_F(SubtitleDelivery, SurvivesEveryText) {
  const HostileCase cases[] = {
      {"empty", "", kNone, kEmptyDocument},
      {"zero bytes", "1\n" + kTimes + std::string("a\0b\n", 4), "1\n" + kTimes + "ab\n",
       kDocument + "00:00:01.000 --> 00:00:02.000\nab\n"},
      {"no final line feed", "a", "a\n", kEmptyDocument},
      {"no timing", "words\n\nmore\n", "words\n\nmore\n", kEmptyDocument},
      {"tags only", "<i></i>", "\n", kEmptyDocument},
      {"a line of 1 MB", kTimes + kLong + "\n", kTimes + kLong + "\n",
       kDocument + "00:00:01.000 --> 00:00:02.000\n" + kLong + "\n"},
      {"1 MB of brackets", kTimes + std::string(1 << 20, '<') + "\n", kTimes + "\n",
       kDocument + "00:00:01.000 --> 00:00:02.000\n\n"},
      {"times out of order", "00:00:09,000 --> 00:00:02,000\nx\n", "00:00:09,000 --> 00:00:02,000\nx\n",
       kDocument + "00:00:09.000 --> 00:00:02.000\nx\n"},
      {"timing without end", "00:00:01,000 -->\nx\n", "00:00:01,000 -->\nx\n", kEmptyDocument},
  };
  for (const HostileCase& hostile : cases) {
    const fs::path file = Put("film.srt", hostile.content);
    fs::remove_all(folder_ / ".kinora");
    EXPECT_TRUE(Text(file) == hostile.text) << hostile.name << ": " << Text(file).substr(0, 200);
    EXPECT_TRUE(Document(file) == hostile.document) << hostile.name << ": " << Document(file).substr(0, 200);
  }
  ExpectNoScratch();
}

TEST_F(SubtitleDelivery, NeverPassesControlCharactersOn) {
  std::string binary;
  for (int i = 0; i < 65536; ++i) binary += static_cast<char>((i * 7919) >> 5);
  for (const std::string& bytes :
       {binary, std::string(1000, '\0'), "\xff\xfe" + binary, std::string("\x1b]0;x\x07\r")}) {
    const std::string text = Text(Put("film.srt", bytes));
    fs::remove_all(folder_ / ".kinora");
    for (const char c : text) EXPECT_FALSE((c >= 0 && c < ' ' && c != '\n' && c != '\r') || c == '\x7f');
  }
  ExpectNoScratch();
}

TEST_F(SubtitleDelivery, HasNoAnswerOfWhatIsNoPlainFile) {
  const fs::path pipe = folder_ / "pipe.srt";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0644), 0);
  fs::create_directory(folder_ / "folder.srt");
  fs::create_symlink(Put("film.srt", kCue), folder_ / "link.srt");
  for (const std::string& id :
       {pipe.string(), (folder_ / "folder.srt").string(), (folder_ / "link.srt").string(),
        (folder_ / "missing.srt").string(), std::string("/dev/zero"), std::string("film.srt"), std::string(),
        std::string("/"), std::string("7/../../film"), "/" + std::string(5000, 'x') + ".srt"}) {
    EXPECT_EQ(Text(id), kNone) << id;
    EXPECT_EQ(Document(id), kEmptyDocument) << id;
  }
  ExpectNoScratch();
}

TEST_F(SubtitleDelivery, HasAnEmptyDocumentForImpossibleWindows) {
  const fs::path file = Put("film.srt", kCue);
  GetMethodArguments wish = Wish(file, true);
  wish.start_time = -5;
  wish.end_time = -3;
  EXPECT_EQ(Body(wish), kEmptyDocument);
  wish.start_time = 10;
  wish.end_time = 1;
  EXPECT_EQ(Body(wish), kDocument + "00:00:10.000 --> 00:00:01.000\n");
}

TEST_F(SubtitleDelivery, AnswersWhateverCharsetItIsToldButWithoutOneOrBehindASlash) {
  const fs::path file = Put("film.srt", kCue);
  for (const char* const codepage :
       {"CP1251", "BIG5", "UTF-7", "NOPE", "--help", "", "a b", "UTF-8//IGNORE"}) {
    GetMethodArguments wish = Wish(file, false);
    wish.codepage = codepage;
    const bool is_possible = *codepage != '\0' && std::string(codepage).find('/') == std::string::npos;
    EXPECT_EQ(Body(wish), is_possible ? kCue : kNone) << codepage;
  }
  ExpectNoScratch();
}

TEST_F(SubtitleDelivery, HasNoAnswerFromAPlantedCache) {
  const fs::path file = Put("film.srt", kCue);
  const fs::path secret = Put("secret", "secret\n");
  fs::last_write_time(secret, fs::file_time_type::clock::now());
  ASSERT_EQ(Text(file), kCue);
  const fs::path v2 = folder_ / ".kinora/film.srt/CRVNVIDEO_2_0_SUBTITLE_V2_auto_enu.srt";
  fs::remove(v2);
  fs::create_symlink(secret, v2);
  EXPECT_EQ(Text(file), kNone);
  EXPECT_EQ(Document(file), kEmptyDocument);
  const fs::path v1 = folder_ / ".kinora/film.srt/CRVNVIDEO_2_0_SUBTITLE_V1_auto_enu.srt";
  fs::remove(v1);
  fs::remove(v2);
  fs::create_symlink(secret, v1);
  EXPECT_EQ(Text(file), kNone);
}

TEST_F(SubtitleDelivery, ReplacesAPipeThatWasPlantedInTheCache) {
  const fs::path file = Put("film.srt", kCue);
  ASSERT_EQ(Text(file), kCue);
  for (const char* const version : {"V1", "V2"}) {
    const fs::path cache =
        folder_ / ".kinora/film.srt" / ("CRVNVIDEO_2_0_SUBTITLE_" + std::string(version) + "_auto_enu.srt");
    fs::remove(cache);
    ASSERT_EQ(::mkfifo(cache.c_str(), 0644), 0);
    EXPECT_EQ(Text(file), kCue) << version;
  }
}

TEST_F(SubtitleDelivery, HasNoAnswerWithoutDescriptorsAndOneWhenThereAreSomeAgain) {
  const fs::path file = Put("film.srt", kCue);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{4, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string text = Text(file);
  const std::string document = Document(file);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(text, kNone);
  EXPECT_EQ(document, kEmptyDocument);
  EXPECT_EQ(Text(file), kCue);
  ExpectNoScratch();
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
