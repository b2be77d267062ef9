// HTTP Live Streaming, its video copied or converted.
#pragma once

#include <string>

#include "contract/engine/http_live_stream.h"
#include "library/vte/adapt_streamer.h"

namespace crvnkn::webapi::vte {

// Its manifests are the playlists that playlist type and subtitle id choose, as
// LibCrvnVTE::HttpLiveStream::GetMainfest reads them.
class KINORA_EXPORT HLS : public AdaptStreamer {
 public:
  explicit HLS(const std::string& stream_id);
  ~HLS() override;

  void SetPlaylistType(const std::string& playlist_type) override;
  void SetSubtitleID(const std::string& subtitle_id) override;

 protected:
  bool CloseImp() const override;
  std::string GetOutputManifestPath() const override;
  std::string GetManifestMineType() const override;
  std::string GetFragmentMineType() const override;
  const LibCrvnVTE::AdaptStream& GetAdaptStream() const override;

 private:
  LibCrvnVTE::HttpLiveStream stream_;
  std::string playlist_type_;
  std::string subtitle_id_;
};

}  // namespace crvnkn::webapi::vte
