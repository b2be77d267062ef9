#include "contract/engine/video_metadata.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace LibCrvnVTE {
namespace {

std::string MediaFile(const std::string& name) { return std::string(KINORA_MEDIA_DIR) + "/" + name; }

VideoMetaData Loaded(const std::string& name) {
  VideoMetaData metadata;
  EXPECT_TRUE(metadata.LoadFile(MediaFile(name))) << name;
  return metadata;
}

void ExpectEmpty(const VideoMetaData& metadata) {
  EXPECT_EQ(metadata.GetFilePath(), "");
  EXPECT_EQ(metadata.GetContainer(), "");
  EXPECT_EQ(metadata.GetFileSize(), 0U);
  EXPECT_EQ(metadata.GetDuration(), 0U);
  EXPECT_EQ(metadata.GetBitrate(), 0U);
  EXPECT_EQ(metadata.GetVideoCodecName(), "");
  EXPECT_EQ(metadata.GetVideoResolutionX(), 0U);
  EXPECT_EQ(metadata.GetAudioCodecName(), "");
  Json::Value video;
  Json::Value audio;
  EXPECT_FALSE(metadata.GetTrackInfo(video, audio));
  EXPECT_TRUE(video.isNull());
  EXPECT_TRUE(audio.isNull());
  Json::Value subtitle;
  EXPECT_FALSE(metadata.GetSubtitleTrackInfo(subtitle));
  EXPECT_TRUE(subtitle.isNull());
}

TEST(VideoMetaData, IsEmptyBeforeALoad) { ExpectEmpty(VideoMetaData()); }

TEST(VideoMetaData, AnswersEveryGetterForAFilm) {
  const VideoMetaData film = Loaded("h264_aac.mp4");
  EXPECT_EQ(film.GetFilePath(), MediaFile("h264_aac.mp4"));
  EXPECT_EQ(film.GetContainer(), "mp4");
  EXPECT_EQ(film.GetFileSize(), std::filesystem::file_size(MediaFile("h264_aac.mp4")));
  EXPECT_EQ(film.GetDuration(), 20U);
  EXPECT_NEAR(film.GetBitrate(), film.GetFileSize() * 8.0 / 20.0, 2.0);
  EXPECT_EQ(film.GetVideoCodecName(), "h264");
  EXPECT_EQ(film.GetVideoProfile(), "Constrained Baseline");
  EXPECT_NEAR(film.GetVideoBitrate(), 1'200'000, 120'000);
  EXPECT_EQ(film.GetVideoFramerateNum(), 25);
  EXPECT_EQ(film.GetVideoFramerateDen(), 1);
  EXPECT_EQ(film.GetVideoRotate(), 0U);
  EXPECT_EQ(film.GetVideoDisplayX(), 16U);
  EXPECT_EQ(film.GetVideoDisplayY(), 9U);
  EXPECT_EQ(film.GetVideoResolutionX(), 1280U);
  EXPECT_EQ(film.GetVideoResolutionY(), 720U);
  EXPECT_EQ(film.GetAudioCodecName(), "aac");
  EXPECT_NEAR(film.GetAudioBitrate(), 128'000, 5'000);
  EXPECT_EQ(film.GetAudioChannel(), 2U);
  EXPECT_EQ(film.GetAudioFreqency(), 48'000U);
}

TEST(VideoMetaData, TellsRotationAspectAndFractionalRates) {
  EXPECT_EQ(Loaded("rotated_90.mp4").GetVideoRotate(), 90U);
  EXPECT_EQ(Loaded("rotated_270.mp4").GetVideoRotate(), 270U);
  const VideoMetaData anamorphic = Loaded("anamorphic.mp4");
  EXPECT_EQ(anamorphic.GetVideoDisplayX(), 16U);
  EXPECT_EQ(anamorphic.GetVideoResolutionX(), 720U);
  const VideoMetaData hevc = Loaded("hevc_10bit.mkv");
  EXPECT_EQ(hevc.GetVideoCodecName(), "hevc_10bit");
  EXPECT_EQ(hevc.GetVideoProfile(), "Main 10");
  EXPECT_EQ(hevc.GetVideoFramerateNum(), 24'000);
  EXPECT_EQ(hevc.GetVideoFramerateDen(), 1001);
}

TEST(VideoMetaData, LeavesEmptyWhatTheFileLacks) {
  const VideoMetaData silent = Loaded("silent.mp4");
  EXPECT_EQ(silent.GetAudioCodecName(), "");
  EXPECT_EQ(silent.GetAudioBitrate() + silent.GetAudioChannel() + silent.GetAudioFreqency(), 0U);
  const VideoMetaData song = Loaded("song_with_cover.m4a");
  EXPECT_EQ(song.GetVideoCodecName(), "");
  EXPECT_EQ(song.GetVideoProfile(), "");
  EXPECT_EQ(song.GetVideoResolutionX() + song.GetVideoResolutionY() + song.GetVideoRotate(), 0U);
  EXPECT_EQ(song.GetVideoFramerateNum(), 0);
  EXPECT_EQ(song.GetVideoFramerateDen(), 0);
  EXPECT_EQ(song.GetAudioCodecName(), "aac");
}

TEST(VideoMetaData, ListsTracksInTheFilesOrder) {
  Json::Value video;
  Json::Value audio;
  ASSERT_TRUE(Loaded("languages.mkv").GetTrackInfo(video, audio));
  ASSERT_EQ(video.size(), 1U);
  ASSERT_EQ(audio.size(), 2U);
  EXPECT_EQ(video[0]["id"], "0");
  EXPECT_EQ(video[0]["codec"], "h264");
  EXPECT_EQ(video[0]["width"], 1280);
  EXPECT_EQ(video[0]["height"], 720);
  EXPECT_EQ(audio[0]["id"], "1");
  EXPECT_EQ(audio[0]["codec"], "aac");
  EXPECT_EQ(audio[0]["profile"], "LC");
  EXPECT_EQ(audio[0]["language"], "eng");
  EXPECT_EQ(audio[0]["title"], "Original");
  EXPECT_EQ(audio[0]["default"], false);
  EXPECT_EQ(audio[0]["channels"], 2);
  EXPECT_EQ(audio[0]["frequency"], 48'000);
  EXPECT_EQ(audio[1]["id"], "2");
  EXPECT_EQ(audio[1]["codec"], "mp3");
  EXPECT_EQ(audio[1]["language"], "ger");
  EXPECT_EQ(audio[1]["default"], true);
  EXPECT_EQ(audio[1]["channels"], 1);
  EXPECT_EQ(audio[1]["bitrate"], 64'000);
}

TEST(VideoMetaData, DoesNotTakeACoverForAFilm) {
  Json::Value video;
  Json::Value audio;
  ASSERT_TRUE(Loaded("cover.mp4").GetTrackInfo(video, audio));
  EXPECT_EQ(video.size(), 1U);
  EXPECT_EQ(video[0]["codec"], "h264");
}

TEST(VideoMetaData, LeavesListsWithoutTracksAsTheyWere) {
  Json::Value video;
  Json::Value none;
  ASSERT_TRUE(Loaded("silent.mp4").GetTrackInfo(video, none));
  EXPECT_TRUE(none.isNull());
  Json::Value array(Json::arrayValue);
  ASSERT_TRUE(Loaded("silent.mp4").GetTrackInfo(video, array));
  EXPECT_TRUE(array.isArray());
  EXPECT_EQ(array.size(), 0U);
  EXPECT_EQ(video.size(), 2U);  // appended to
}

Json::Value SubtitlesOf(const std::string& name) {
  Json::Value subtitles;
  EXPECT_TRUE(Loaded(name).GetSubtitleTrackInfo(subtitles)) << name;
  return subtitles;
}

TEST(VideoMetaData, ListsSubtitlesInTheFilesOrder) {
  const Json::Value subtitles = SubtitlesOf("subtitles.mkv");
  const struct {
    const char* track;
    const char* codec;
    const char* language;
    const char* title;
    bool is_default;
    bool forced;
    bool hearing_impaired;
  } rows[] = {{"2", "subrip", "eng", "", true, false, false},
              {"3", "ass", "ger", "Nur \"Schilder\"", false, true, false},
              {"4", "subrip", "eng", "", false, false, true},
              {"5", "subrip", "", "", false, false, false}};
  ASSERT_EQ(subtitles.size(), std::size(rows));
  for (Json::ArrayIndex i = 0; i < subtitles.size(); ++i) {
    SCOPED_TRACE(rows[i].track);
    EXPECT_EQ(subtitles[i]["track"], rows[i].track);
    EXPECT_EQ(subtitles[i]["codec"], rows[i].codec);
    EXPECT_EQ(subtitles[i]["language"], rows[i].language);
    EXPECT_EQ(subtitles[i]["title"], rows[i].title);
    EXPECT_EQ(subtitles[i]["default"], rows[i].is_default);
    EXPECT_EQ(subtitles[i]["forced"], rows[i].forced);
    EXPECT_EQ(subtitles[i]["hearing_impaired"], rows[i].hearing_impaired);
  }
}

TEST(VideoMetaData, ListsSubtitlesOfEveryContainer) {
  const Json::Value subtitles = SubtitlesOf("subtitles.mp4");
  ASSERT_EQ(subtitles.size(), 2U);
  EXPECT_EQ(subtitles[0]["codec"], "mov_text");
  EXPECT_EQ(subtitles[1]["track"], "3");
  EXPECT_EQ(subtitles[1]["language"], "fre");
  const Json::Value many = SubtitlesOf("many_subtitles.mkv");
  ASSERT_EQ(many.size(), 40U);
  EXPECT_EQ(many[39]["track"], "41");
}

TEST(VideoMetaData, LeavesAListOfSubtitlesAsItWasWhereThereAreNone) {
  EXPECT_TRUE(SubtitlesOf("silent.mp4").isNull());
  Json::Value list(Json::arrayValue);
  list.append("one");
  ASSERT_TRUE(Loaded("silent.mp4").GetSubtitleTrackInfo(list));
  EXPECT_EQ(list.size(), 1U);
  ASSERT_TRUE(Loaded("subtitles.mp4").GetSubtitleTrackInfo(list));
  EXPECT_EQ(list.size(), 3U);
}

TEST(VideoMetaData, CopiesShareALoadAndNoLaterOne) {
  VideoMetaData one = Loaded("silent.mp4");
  const VideoMetaData copy = one;
  ASSERT_TRUE(one.LoadFile(MediaFile("h264_ac3.mkv")));
  EXPECT_EQ(one.GetContainer(), "mkv");
  EXPECT_EQ(copy.GetContainer(), "mp4");
  EXPECT_EQ(copy.GetFilePath(), MediaFile("silent.mp4"));
}

TEST(VideoMetaData, ForgetsWhatItHadWhenALoadFails) {
  VideoMetaData metadata = Loaded("silent.mp4");
  EXPECT_FALSE(metadata.LoadFile(MediaFile("words.srt")));
  ExpectEmpty(metadata);
  EXPECT_FALSE(metadata.LoadFile(MediaFile("missing.mp4")));
  EXPECT_FALSE(metadata.LoadFile(""));
}

}  // namespace
}  // namespace LibCrvnVTE
