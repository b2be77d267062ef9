#include "platform/engine/webm_arguments.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>

namespace kinora::engine {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// 1280 by 720 at 25 frames a second, with one track, all to be encoded.
StreamPlan Plan() {
  StreamPlan plan;
  plan.delivery = Delivery::kWebM;
  plan.source.container = "mkv";
  plan.source.video.track = 0;
  plan.source.video.frame_rate = 25;
  plan.video = VideoWay::kEncode;
  plan.picture = {1280, 720, 25, 2'000'000, "vp8", ""};
  plan.audio.resize(1);
  plan.audio[0].track = 2;
  plan.audio[0].codec = "opus";
  plan.audio[0].bitrate = 128'000;
  plan.grid = {MediaTime(1, 1000), {0, 3'600'000}};
  return plan;
}

StreamPlan WithCopies(bool video, bool audio) {
  StreamPlan plan = Plan();
  if (video) plan.video = VideoWay::kCopy;
  if (audio) plan.audio[0].way = AudioWay::kCopy;
  return plan;
}

// What follows `option`.
std::string ValueOf(const Arguments& arguments, const std::string& option) {
  const auto at = std::find(arguments.begin(), arguments.end(), option);
  return at == arguments.end() || at + 1 == arguments.end() ? "(none)" : *(at + 1);
}

TEST(WebMArguments, AreTheseForAnOrdinaryFilm) {
  EXPECT_THAT(
      WebMArguments(Plan(), 90),
      ElementsAre("-v", "error", "-nostdin", "-noaccurate_seek", "-ss", "89.500000", "-f", "matroska",
                  "-format_whitelist", "matroska", "-protocol_whitelist", "file", "-copyts", "-start_at_zero",
                  "-i", "file:/proc/self/fd/3", "-map", "0:0", "-vf",
                  "fps=25/1:start_time=90.000000,scale=1280:720,setsar=1,format=yuv420p", "-c:v", "libvpx",
                  "-threads:v", "1", "-deadline", "realtime", "-cpu-used", "16", "-lag-in-frames", "0",
                  "-auto-alt-ref", "0", "-g", "50", "-b:v", "2000000", "-map", "0:2", "-af",
                  "aresample=48000,aresample=async=1:first_pts=4320000,"
                  "aformat=sample_fmts=fltp:channel_layouts=stereo,asetpts=PTS+312",
                  "-c:a", "libopus", "-b:a", "128000", "-max_muxing_queue_size", "65536", "-map_metadata",
                  "-1", "-map_chapters", "-1", "-sn", "-dn", "-avoid_negative_ts", "disabled", "-f", "webm",
                  "-live", "1", "-cluster_time_limit", "1000", "-cluster_size_limit", "2M", "-flush_packets",
                  "1", "pipe:1"));
}

TEST(WebMArguments, AreTheseForACopy) {
  EXPECT_THAT(
      WebMArguments(WithCopies(true, true), 90),
      ElementsAre("-v", "error", "-nostdin", "-noaccurate_seek", "-ss", "90.000000", "-f", "matroska",
                  "-format_whitelist", "matroska", "-protocol_whitelist", "file", "-copyts", "-start_at_zero",
                  "-i", "file:/proc/self/fd/3", "-map", "0:0", "-c:v", "copy", "-map", "0:2", "-c:a", "copy",
                  "-max_muxing_queue_size", "65536", "-map_metadata", "-1", "-map_chapters", "-1", "-sn",
                  "-dn", "-avoid_negative_ts", "disabled", "-f", "webm", "-live", "1", "-cluster_time_limit",
                  "1000", "-cluster_size_limit", "2M", "-flush_packets", "1", "pipe:1"));
}

TEST(WebMArguments, LetSoundBeginWithAPictureThatIsCopied) {
  const Arguments arguments = WebMArguments(WithCopies(true, false), 90);
  EXPECT_EQ(ValueOf(arguments, "-ss"), "90.000000");
  EXPECT_THAT(ValueOf(arguments, "-af"), Not(HasSubstr("first_pts")));
}

TEST(WebMArguments, DropCopiedSoundFromBeforeAPictureThatIsEncoded) {
  const Arguments arguments = WebMArguments(WithCopies(false, true), 90);
  EXPECT_EQ(ValueOf(arguments, "-bsf:a"), "noise=drop=lt(pts*tb\\,90)");
  EXPECT_EQ(ValueOf(arguments, "-ss"), "89.500000");
}

TEST(WebMArguments, NeitherSeekNorDropAtTheBeginning) {
  for (const bool video : {false, true}) {
    for (const bool audio : {false, true}) {
      const Arguments arguments = WebMArguments(WithCopies(video, audio), 0);
      EXPECT_THAT(arguments, Not(Contains("-ss")));
      EXPECT_THAT(arguments, Not(Contains("-bsf:a")));
    }
  }
}

TEST(WebMArguments, LeaveOutWhatTheFilmHasNot) {
  StreamPlan plan = Plan();
  plan.audio.clear();
  EXPECT_THAT(WebMArguments(plan, 0), Contains("-an"));
  plan = Plan();
  plan.video = VideoWay::kNone;
  EXPECT_THAT(WebMArguments(plan, 0), Contains("-vn"));
  EXPECT_EQ(ValueOf(WebMArguments(plan, 0), "-map"), "0:2");
}

TEST(WebMArguments, MakeAnOrdinaryPictureOfAny) {
  StreamPlan plan = Plan();
  plan.source.video.field_order = "tt";
  EXPECT_THAT(ValueOf(WebMArguments(plan, 0), "-vf"),
              HasSubstr("bwdif=mode=send_frame:deint=interlaced,fps"));
  plan = Plan();
  plan.source.video.hdr = "pq";
  EXPECT_THAT(ValueOf(WebMArguments(plan, 0), "-vf"), HasSubstr("tin=smpte2084"));
  EXPECT_THAT(ValueOf(WebMArguments(plan, 0), "-vf"), HasSubstr("tonemap"));
  plan = Plan();
  plan.picture.frame_rate = MediaTime(30000, 1001);
  EXPECT_EQ(ValueOf(WebMArguments(plan, 0), "-g"), "60");
}

TEST(WebMArguments, AreRefusedForWhatCannotBeMade) {
  StreamPlan plan = Plan();
  plan.source.container = "exe";
  EXPECT_THROW(WebMArguments(plan, 0), std::invalid_argument);
  plan = Plan();
  plan.audio[0].channels = 5;
  EXPECT_THROW(WebMArguments(plan, 0), std::invalid_argument);
}

}  // namespace
}  // namespace kinora::engine
