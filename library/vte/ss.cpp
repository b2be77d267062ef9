#include "library/vte/ss.h"

namespace crvnkn::webapi::vte {

SS::SS(const std::string& stream_id) : AdaptStreamer(stream_id, kSs), stream_(stream_id) {}
SS::~SS() = default;

bool SS::CloseImp() const { return stream_.Close(); }

std::string SS::GetOutputManifestPath() const { return stream_.GetMainfest(); }
std::string SS::GetManifestMineType() const { return "text/xml"; }
std::string SS::GetFragmentMineType() const { return "video/mp4"; }
const LibCrvnVTE::AdaptStream& SS::GetAdaptStream() const { return stream_; }

}  // namespace crvnkn::webapi::vte
