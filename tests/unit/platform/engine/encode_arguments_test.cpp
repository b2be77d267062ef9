#include "platform/engine/encode_arguments.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>

#include "platform/engine/segment_grid.h"

namespace kinora::engine {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// 1280 by 720 at 25 frames a second, with one AAC track.
StreamPlan Plan() {
  StreamPlan plan;
  plan.source.container = "mkv";
  plan.source.video.track = 0;
  plan.source.video.frame_rate = 25;
  plan.video = VideoWay::kEncode;
  plan.picture = {1280, 720, 25, 2'000'000, "", ""};
  plan.audio.resize(1);
  plan.audio[0].track = 2;
  plan.audio[0].codec = "aac";
  plan.audio[0].bitrate = 128'000;
  plan.profile.h264_profile = "high";
  plan.profile.h264_level = "4.0";
  plan.grid = MakeFrameGrid(25, 3600);
  return plan;
}

// What follows `option`.
std::string ValueOf(const std::vector<std::string>& arguments, const std::string& option) {
  const auto at = std::find(arguments.begin(), arguments.end(), option);
  return at == arguments.end() || at + 1 == arguments.end() ? "(none)" : *(at + 1);
}

std::string FiltersOf(const StreamPlan& plan, bool hardware = false) {
  return ValueOf(JobArguments(plan, {0, 1, hardware}), "-vf");
}

TEST(JobArguments, AreTheseForAnOrdinaryFilm) {
  EXPECT_THAT(
      JobArguments(Plan(), {3, 4, false}),
      ElementsAre("-v", "error", "-nostdin", "-noaccurate_seek", "-ss", "6.500000", "-f", "matroska",
                  "-format_whitelist", "matroska", "-protocol_whitelist", "file", "-copyts", "-start_at_zero",
                  "-i", "file:/proc/self/fd/3", "-map", "0:0", "-vf",
                  "tpad=stop=-1:stop_mode=clone,fps=25/1:start_time=7.000000,trim=end_frame=300,"
                  "scale=1280:720,setsar=1,format=yuv420p",
                  "-c:v", "libx264", "-preset", "veryfast", "-crf", "21", "-maxrate", "2000000", "-bufsize",
                  "4000000", "-profile:v", "high", "-level:v", "4.0", "-sc_threshold", "0", "-forced-idr",
                  "1", "-bf", "0", "-g", "100000", "-force_key_frames", "7.000000,11.000000,15.000000",
                  "-max_muxing_queue_size", "65536", "-map", "0:2", "-af",
                  "aresample=48000,aresample=async=1:first_pts=325632,"
                  "aformat=sample_fmts=fltp:channel_layouts=stereo",
                  "-c:a", "aac", "-ac", "2", "-b:a", "128000", "-bsf:a", "noise=drop=lt(n\\,12)",
                  "-map_metadata", "-1", "-map_chapters", "-1", "-muxdelay", "0", "-muxpreload", "0",
                  "-avoid_negative_ts", "disabled", "-output_ts_offset", "1", "-sn", "-dn", "-f", "hls",
                  "-hls_time", "0.1", "-hls_list_size", "2", "-start_number", "3", "-hls_flags", "temp_file",
                  "-hls_segment_type", "mpegts", "-hls_segment_filename", "/proc/self/fd/4/%d.ts",
                  "/proc/self/fd/4/made.m3u8"));
}

TEST(JobArguments, NeitherSeekNorDropAtTheBeginning) {
  const std::vector<std::string> arguments = JobArguments(Plan(), {0, 1, false});
  EXPECT_THAT(arguments, Not(Contains("-ss")));
  EXPECT_THAT(arguments, Not(Contains("-bsf:a")));
  EXPECT_THAT(ValueOf(arguments, "-af"), HasSubstr("first_pts=0,"));
  EXPECT_EQ(ValueOf(arguments, "-force_key_frames"), "0.000000,1.000000,3.000000");
}

TEST(JobArguments, ForceNoKeyFrameBehindTheLastFragment) {
  StreamPlan plan = Plan();
  plan.grid = MakeFrameGrid(25, 12);
  const std::vector<std::string> arguments = JobArguments(plan, {2, 4, false});
  EXPECT_EQ(ValueOf(arguments, "-force_key_frames"), "3.000000,7.000000,11.000000");
  EXPECT_THAT(ValueOf(arguments, "-vf"), HasSubstr("trim=end_frame=225,"));
}

TEST(JobArguments, SeekFurtherBackWhereThereIsNoIndex) {
  for (const char* container : {"mpegts", "mpeg"}) {
    StreamPlan plan = Plan();
    plan.source.container = container;
    EXPECT_EQ(ValueOf(JobArguments(plan, {3, 4, false}), "-ss"), "2.000000") << container;
  }
}

TEST(JobArguments, NameTheDemuxersOfEachContainer) {
  const std::pair<const char*, const char*> cases[] = {
      {"mp4", "mov"},       {"mov", "mov"}, {"mkv", "matroska"}, {"webm", "matroska"},
      {"mpegts", "mpegts"}, {"avi", "avi"}, {"asf", "asf"},      {"mpeg", "mpeg,mpegvideo"},
      {"flv", "flv"},       {"ogg", "ogg"}, {"dv", "dv"},        {"mxf", "mxf,mxf_opatom"}};
  for (const auto& [container, demuxers] : cases) {
    StreamPlan plan = Plan();
    plan.source.container = container;
    EXPECT_EQ(ValueOf(JobArguments(plan, {0, 1, false}), "-format_whitelist"), demuxers) << container;
  }
  StreamPlan plan = Plan();
  plan.source.container = "hls";
  EXPECT_THROW(JobArguments(plan, {0, 1, false}), std::invalid_argument);
}

TEST(JobArguments, MakeEverySourcePlayable) {
  StreamPlan plan = Plan();
  EXPECT_THAT(FiltersOf(plan), Not(HasSubstr("bwdif")));
  plan.source.video.field_order = "progressive";
  EXPECT_THAT(FiltersOf(plan), Not(HasSubstr("bwdif")));
  for (const char* order : {"tt", "bb", "tb", "bt"}) {
    plan.source.video.field_order = order;
    EXPECT_THAT(FiltersOf(plan), testing::StartsWith("bwdif=mode=send_frame:deint=interlaced,")) << order;
  }
  plan.picture.frame_rate = 50;
  EXPECT_THAT(FiltersOf(plan), testing::StartsWith("bwdif=mode=send_field:deint=interlaced,"));
  plan.source.video.hdr = "pq";
  EXPECT_THAT(FiltersOf(plan), HasSubstr("zscale=w=1280:h=720:tin=smpte2084:pin=bt2020:min=bt2020nc,"));
  plan.source.video.hdr = "hlg";
  EXPECT_THAT(FiltersOf(plan), HasSubstr(":tin=arib-std-b67:"));
  EXPECT_THAT(FiltersOf(plan), testing::EndsWith("setsar=1,format=yuv420p"));
}

TEST(JobArguments, UseTheHardwareWhenTheyMay) {
  StreamPlan plan = Plan();
  plan.profile.h264_profile = "baseline";
  plan.profile.h264_level = "3";
  const std::vector<std::string> arguments = JobArguments(plan, {0, 1, true});
  EXPECT_EQ(ValueOf(arguments, "-vaapi_device"), "/dev/dri/renderD128");
  EXPECT_EQ(ValueOf(arguments, "-c:v"), "h264_vaapi");
  EXPECT_EQ(ValueOf(arguments, "-profile:v"), "constrained_baseline");
  EXPECT_EQ(ValueOf(arguments, "-level:v"), "30");
  EXPECT_EQ(ValueOf(arguments, "-bf"), "0");
  EXPECT_THAT(ValueOf(arguments, "-vf"), testing::EndsWith("setsar=1,format=nv12,hwupload"));
}

TEST(JobArguments, LeaveSoundOutThatIsARenditionOfItsOwn) {
  StreamPlan plan = Plan();
  plan.audio.push_back(plan.audio[0]);
  EXPECT_THAT(JobArguments(plan, {0, 1, false}), Contains("-an"));
  plan.audio.clear();
  EXPECT_THAT(JobArguments(plan, {0, 1, false}), Contains("-an"));
}

TEST(AudioArguments, AreTheseForAnOrdinaryFragment) {
  EXPECT_THAT(AudioArguments(Plan(), Plan().audio[0], 3),
              ElementsAre("-v", "error", "-nostdin", "-t", "19.000000", "-noaccurate_seek", "-ss", "6.500000",
                          "-f", "matroska", "-format_whitelist", "matroska", "-protocol_whitelist", "file",
                          "-copyts", "-start_at_zero", "-i", "file:/proc/self/fd/3", "-map", "0:2", "-af",
                          "[in]aresample=48000,aresample=async=1:first_pts=325632,"
                          "aformat=sample_fmts=fltp:channel_layouts=stereo[sound];"
                          "anullsrc=r=48000:cl=stereo,atrim=end_sample=204800,asetpts=PTS+325632[silence];"
                          "[silence][sound]amix=inputs=2:duration=first:normalize=0[out]",
                          "-c:a", "aac", "-ac", "2", "-b:a", "128000", "-bsf:a",
                          "noise=drop=lt(n\\,12)+gte(n\\,199)", "-map_metadata", "-1", "-map_chapters", "-1",
                          "-muxdelay", "0", "-muxpreload", "0", "-avoid_negative_ts", "disabled",
                          "-output_ts_offset", "1", "-vn", "-sn", "-dn", "-f", "mpegts", "pipe:1"));
}

TEST(AudioArguments, RefuseWhatIsNotEncoded) {
  AudioPlan audio = Plan().audio[0];
  audio.codec = "ac3";
  EXPECT_THROW(AudioArguments(Plan(), audio, 0), std::invalid_argument);
  audio = Plan().audio[0];
  audio.channels = 5;
  EXPECT_THROW(AudioArguments(Plan(), audio, 0), std::invalid_argument);
  EXPECT_THROW(AudioArguments(Plan(), Plan().audio[0], 1'000'000), std::out_of_range);
}

StreamPlan SmoothPlan() {
  StreamPlan plan = Plan();
  plan.delivery = Delivery::kSmooth;
  plan.source.video.height = 1080;
  return plan;
}

TEST(JobArguments, FixWhatAPictureOfSmoothStreamingIs) {
  const std::vector<std::string> arguments = JobArguments(SmoothPlan(), {3, 4, false});
  EXPECT_EQ(
      ValueOf(arguments, "-vf"),
      "tpad=stop=-1:stop_mode=clone,fps=25/1:start_time=7.000000,trim=end_frame=300,"
      "scale=1280:720:in_color_matrix=bt709:out_color_matrix=bt709:out_range=tv,setsar=1,format=yuv420p,"
      "setparams=range=tv:field_mode=prog:colorspace=bt709:color_primaries=bt709:color_trc=bt709");
  EXPECT_EQ(ValueOf(arguments, "-x264-params"), "stitchable=1");
  EXPECT_EQ(ValueOf(arguments, "-chroma_sample_location"), "left");
  EXPECT_THAT(arguments, Contains("-an"));
}

TEST(JobArguments, MapHdrAndLabelWhatComesOutForSmoothStreaming) {
  StreamPlan plan = SmoothPlan();
  plan.source.video.hdr = "pq";
  plan.source.video.color = {"bt2020nc", "bt2020", "smpte2084"};
  const std::string filters = FiltersOf(plan);
  EXPECT_THAT(filters, HasSubstr("tonemap"));
  EXPECT_THAT(filters, Not(HasSubstr("in_color_matrix")));
  EXPECT_THAT(filters, HasSubstr("colorspace=bt709:color_primaries=bt709:color_trc=bt709"));
}

TEST(HeaderArguments, NameThePicturesShapeAndTheJobsEncoder) {
  const StreamPlan plan = SmoothPlan();
  const std::vector<std::string> arguments = HeaderArguments(plan);
  const std::vector<std::string> job = JobArguments(plan, {0, 1, false});
  EXPECT_EQ(ValueOf(arguments, "-i"), "color=size=1280x720:rate=25/1");
  for (const char* option : {"-c:v", "-preset", "-crf", "-maxrate", "-bufsize", "-profile:v", "-level:v",
                             "-x264-params", "-chroma_sample_location", "-bf", "-g"}) {
    EXPECT_EQ(ValueOf(arguments, option), ValueOf(job, option)) << option;
  }
  EXPECT_TRUE(ValueOf(job, "-vf").ends_with(ValueOf(arguments, "-vf")));
}

}  // namespace
}  // namespace kinora::engine
