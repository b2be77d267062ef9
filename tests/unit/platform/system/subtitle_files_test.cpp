#include "contract/system/subtitle_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

namespace kinora::system {
namespace {

namespace fs = std::filesystem;

class SubtitleFilesTest : public testing::Test {
 protected:
  SubtitleFilesTest() {
    std::string name = testing::TempDir() + "subtitles-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    Put("Movie.mkv");
  }
  ~SubtitleFilesTest() override { fs::remove_all(folder_); }

  void Put(const fs::path& name) const {
    fs::create_directories((folder_ / name).parent_path());
    std::ofstream(folder_ / name) << "x";
  }

  // Of Movie.mkv unless another video is named; relative to the folder.
  std::vector<std::string> List(const std::string& video = "Movie.mkv") const {
    Json::Value list;
    EXPECT_EQ(libkn::subtitle::GetExternalSubtitle(folder_ / video, list), 0);
    EXPECT_TRUE(list.isArray());
    std::vector<std::string> names;
    for (const Json::Value& path : list) names.push_back(path.asString().substr(folder_.native().size() + 1));
    return names;
  }

  using Names = std::vector<std::string>;
  fs::path folder_;
};

TEST_F(SubtitleFilesTest, ListsWhatBeginsAsTheVideoSorted) {
  for (const char* name : {"Movie.srt", "Movie.en.srt", "Movie_fr.ass", "Movie-de.SMI", "Movie (2).vtt",
                           "Movie [it].ssa", "Movie(es).sub", "Movies.srt", "Mov.srt", "movie.srt",
                           "Other.srt", "Movie.en.srt.bak", "Movie.nfo", "Movie.jpg", "Movie", ".Movie.srt"})
    Put(name);
  EXPECT_EQ(List(), (Names{"Movie (2).vtt", "Movie [it].ssa", "Movie(es).sub", "Movie-de.SMI", "Movie.en.srt",
                           "Movie.srt", "Movie_fr.ass"}));
}

TEST_F(SubtitleFilesTest, LooksIntoTheFoldersOfSubtitles) {
  for (const char* name : {"Subs/Movie.srt", "SUBTITLES/Movie.de.srt", "subtitles/Movie.fr.srt",
                           "Other/Movie.it.srt", "Subs/Below/Movie.es.srt", "Subs/English.srt"})
    Put(name);
  EXPECT_EQ(List(), (Names{"SUBTITLES/Movie.de.srt", "Subs/Movie.srt", "subtitles/Movie.fr.srt"}));
}

TEST_F(SubtitleFilesTest, LeavesOthersVideosTheirs) {
  for (const char* name :
       {"Movie 2.mp4", "Movie.Part.1.avi", "Movie.nfo", "Movie 2.srt", "Movie 2.en.srt",
        "Movie.Part.1.de.srt", "Movie.Part.srt", "Movie.fr.srt", "Subs/Movie 2.it.srt", "Subs/Movie.it.srt"})
    Put(name);
  EXPECT_EQ(List(), (Names{"Movie.Part.srt", "Movie.fr.srt", "Subs/Movie.it.srt"}));
  EXPECT_EQ(List("Movie 2.mp4"), (Names{"Movie 2.en.srt", "Movie 2.srt", "Subs/Movie 2.it.srt"}));
  EXPECT_EQ(List("Movie.Part.1.avi"), (Names{"Movie.Part.1.de.srt"}));
}

TEST_F(SubtitleFilesTest, LeavesPicturesOut) {
  for (const char* name :
       {"Movie.sub", "Movie.idx", "Movie.en.sub", "Movie.fr.idx", "Movie.fr.SUB", "Movie.srt"})
    Put(name);
  EXPECT_EQ(List(), (Names{"Movie.en.sub", "Movie.srt"}));
}

TEST_F(SubtitleFilesTest, ListsPlainFilesOnly) {
  Put("elsewhere.txt");
  fs::create_symlink(folder_ / "elsewhere.txt", folder_ / "Movie.link.srt");
  fs::create_directory(folder_ / "Movie.folder.srt");
  ASSERT_EQ(::mkfifo((folder_ / "Movie.pipe.srt").c_str(), 0600), 0);
  Put("away/Movie.srt");
  fs::create_directory_symlink(folder_ / "away", folder_ / "Subs");
  Put("Movie.srt");
  EXPECT_EQ(List(), (Names{"Movie.srt"}));
}

TEST_F(SubtitleFilesTest, NamesHoldWhatTheyLike) {
  const std::string longest = "Movie." + std::string(245, 'x') + ".srt";
  const Names names = {"Movie.\n\r\x1B[2J.srt", "Movie.\xFF\xFE.srt", "Movie.%s%n.srt", longest};
  for (const std::string& name : names) Put(name);
  Names sorted = names;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(List(), sorted);
  Put("[a].mkv");
  Put("[a].en.srt");
  EXPECT_EQ(List("[a].mkv"), (Names{"[a].en.srt"}));
}

TEST_F(SubtitleFilesTest, NeedNoVideo) {
  Put("Gone.srt");
  EXPECT_EQ(List("Gone.mkv"), (Names{"Gone.srt"}));
  for (const char* path : {"/nowhere/at/all.mkv", "relative.mkv", "", "/", "/etc/passwd/a.mkv", "/.mkv"}) {
    Json::Value list;
    EXPECT_EQ(libkn::subtitle::GetExternalSubtitle(path, list), 0) << path;
    EXPECT_EQ(list, Json::Value(Json::arrayValue)) << path;
  }
}

TEST_F(SubtitleFilesTest, ForgetsWhatTheListHeld) {
  Json::Value list("text");
  EXPECT_EQ(libkn::subtitle::GetExternalSubtitle(folder_ / "Movie.mkv", list), 0);
  EXPECT_EQ(list, Json::Value(Json::arrayValue));
}

TEST_F(SubtitleFilesTest, OfTenThousandFilesAreTold) {
  for (int i = 0; i < 5000; ++i) {
    const std::string name = "Movie " + std::to_string(i);
    std::ofstream(folder_ / (name + ".mkv"));
    std::ofstream(folder_ / (name + ".en.srt"));
  }
  Put("Movie.en.srt");
  EXPECT_EQ(List(), (Names{"Movie.en.srt"}));
  EXPECT_EQ(List("Movie 4999.mkv"), (Names{"Movie 4999.en.srt"}));
}

// As somebody who is not let in, which root is always.
int ListedWithoutRights(const fs::path& video) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0) ::_exit(100);
    Json::Value list;
    const int result = libkn::subtitle::GetExternalSubtitle(video, list);
    ::_exit(result < 0 ? 99 : static_cast<int>(list.size()));
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(SubtitleFilesTest, FailsWhereTheFolderCannotBeRead) {
  Put("Movie.srt");
  Put("Subs/Movie.srt");
  ::chmod(folder_.c_str(), 0755);
  ::chmod((folder_ / "Subs").c_str(), 0700);
  const int open = ListedWithoutRights(folder_ / "Movie.mkv");
  if (open == 100 || open == 2) GTEST_SKIP() << "there is nobody else to be";
  EXPECT_EQ(open, 1) << "the folder below is left out";
  ::chmod(folder_.c_str(), 0711);
  EXPECT_EQ(ListedWithoutRights(folder_ / "Movie.mkv"), 99);
  ::chmod(folder_.c_str(), 0755);
}

TEST(PathInfo, TellsWhatTheNameTells) {
  const Json::Value info = libkn::subtitle::PathInfo("/films/Movie.zh-TW.forced.sdh.ASS");
  EXPECT_EQ(info["basename"], "Movie.zh-TW.forced.sdh.ASS");
  EXPECT_EQ(info["extension"], "ASS");
  EXPECT_EQ(info["language"], "zh-TW");
  EXPECT_EQ(info["forced"], true);
  EXPECT_EQ(info["hearing_impaired"], true);
  const Json::Value nothing = libkn::subtitle::PathInfo("");
  for (const char* key : {"basename", "extension", "language"}) EXPECT_EQ(nothing[key], "") << key;
  for (const char* key : {"forced", "hearing_impaired"}) EXPECT_EQ(nothing[key], false) << key;
}

TEST(SubtitleTracks, AreAskedForInContainersThatHoldText) {
  for (const char* name : {"mkv", "webm", "mp4", "mov", "mpegts", "mpeg", "ogg", "nut"})
    EXPECT_TRUE(libkn::subtitle::IsAllowEmbaddedSubtitleContiner(name)) << name;
  for (const char* name : {"avi", "flv", "asf", "dv", "", "MKV", "hls"})
    EXPECT_FALSE(libkn::subtitle::IsAllowEmbaddedSubtitleContiner(name)) << name;
}

TEST(SubtitleTracks, AreTextByTheirCodec) {
  for (const char* name : {"subrip", "srt", "ass", "ssa", "mov_text", "webvtt", "text"})
    EXPECT_TRUE(libkn::subtitle::IsTextBaseSubtitleCodec(name)) << name;
  for (const char* name : {"hdmv_pgs_subtitle", "dvd_subtitle", "dvb_subtitle", "dvb_teletext", "xsub",
                           "eia_608", "h264", "", "SUBRIP"})
    EXPECT_FALSE(libkn::subtitle::IsTextBaseSubtitleCodec(name)) << name;
}

}  // namespace
}  // namespace kinora::system
