#include "library/vte/hls.h"

namespace crvnkn::webapi::vte {

HLS::HLS(const std::string& stream_id) : AdaptStreamer(stream_id, kHls), stream_(stream_id) {}
HLS::~HLS() = default;

void HLS::SetPlaylistType(const std::string& playlist_type) { playlist_type_ = playlist_type; }
void HLS::SetSubtitleID(const std::string& subtitle_id) { subtitle_id_ = subtitle_id; }

bool HLS::CloseImp() const { return stream_.Close(); }

std::string HLS::GetOutputManifestPath() const { return stream_.GetMainfest(playlist_type_, subtitle_id_); }
std::string HLS::GetManifestMineType() const { return "application/x-mpegURL"; }
std::string HLS::GetFragmentMineType() const { return "video/MP2T"; }
const LibCrvnVTE::AdaptStream& HLS::GetAdaptStream() const { return stream_; }

}  // namespace crvnkn::webapi::vte
