#include "library/subtitle/rip_subtitle.h"

#include <vector>

#include "contract/system/process_runner.h"
#include "library/log.h"
#include "library/subtitle/log_unit.h"
#include "library/subtitle/older_cache.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr char kFfmpeg[] = "/var/packages/Kinora/target/bin/ffmpeg";
constexpr char kMostSeconds[] = "300";  // of processor time
constexpr char kPreviewSeconds[] = "300";

}  // namespace

bool RipSubtitle(const RipOrder& order, const std::string& output) {
  const std::string stream = "0:" + std::to_string(order.track);
  std::vector<const char*> arguments = {
      kFfmpeg, "-y", "-timelimit", kMostSeconds, "-i", order.input.c_str(), "-scodec", "subrip"};
  if (order.track != kNoTrack) arguments.insert(arguments.end(), {"-map", stream.c_str()});
  if (order.preview) arguments.insert(arguments.end(), {"-t", kPreviewSeconds});
  arguments.insert(arguments.end(), {output.c_str(), nullptr});
  CRVNUtils::ProcessRunner ffmpeg(kFfmpeg, arguments.data());
  if (ffmpeg.run(true, false) >= 0) return true;
  KINORA_LOG(LOG_ERR, kLogUnit, "RipSubtitle: Failed (%s)", ffmpeg.toString().c_str());
  return false;
}

}  // namespace crvnkn::webapi::subtitle
