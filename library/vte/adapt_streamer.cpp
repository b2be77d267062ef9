#include "library/vte/adapt_streamer.h"

#include "contract/system/file_output.h"
#include "library/log.h"
#include "library/vte/utils.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kLogUnit[] = "vte/adapt_streamer";

bool Output(const std::string& path, const std::string& type) {
  return HTTPFileOutputer::Output(path.c_str(), type.c_str()) == 0;
}

}  // namespace

AdaptStreamer::AdaptStreamer(const std::string& stream_id, StreamType type) : Streamer(stream_id, type) {}
AdaptStreamer::~AdaptStreamer() = default;

void AdaptStreamer::SetFragmentID(const std::string& fragment_id) { fragment_id_ = fragment_id; }

bool AdaptStreamer::StreamImp() const { return fragment_id_.empty() ? OutputManifest() : OutputFragment(); }

bool AdaptStreamer::OutputManifest() const {
  const std::string path = GetOutputManifestPath();
  if (path.empty()) return false;
  PrintChromecastHeader();
  if (!Output(path, GetManifestMineType())) {
    KINORA_LOG(LOG_ERR, kLogUnit, "VTE - Failed to stream out OutputManifest %s[%s]",
               GetStreamTypeString().c_str(), path.c_str());
    return false;
  }
  return true;
}

bool AdaptStreamer::OutputFragment() const {
  PrintChromecastHeader();
  RecordAccessStatus(GetPathAccessStatus());
  if (!GetAdaptStream().Transcoding(fragment_id_)) {
    KINORA_LOG(LOG_ERR, kLogUnit, "Failed to hls transcoding");
    return false;
  }
  // Again: making the fragment may have taken longer than an unused stream lives.
  RecordAccessStatus(GetPathAccessStatus());
  const std::string path = GetAdaptStream().GetFragmentPath(fragment_id_);
  return !path.empty() && Output(path, GetFragmentMineType());
}

}  // namespace crvnkn::webapi::vte
