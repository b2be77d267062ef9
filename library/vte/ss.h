// Smooth Streaming.
#pragma once

#include <string>

#include "contract/engine/smooth_stream.h"
#include "library/vte/adapt_streamer.h"

namespace crvnkn::webapi::vte {

// It has one manifest; its fragments are named by their addresses below the manifest, as
// LibCrvnVTE::SmoothStream reads them.
class KINORA_EXPORT SS : public AdaptStreamer {
 public:
  explicit SS(const std::string& stream_id);
  ~SS() override;

 protected:
  bool CloseImp() const override;
  std::string GetOutputManifestPath() const override;
  std::string GetManifestMineType() const override;
  std::string GetFragmentMineType() const override;
  const LibCrvnVTE::AdaptStream& GetAdaptStream() const override;

 private:
  LibCrvnVTE::SmoothStream stream_;
};

}  // namespace crvnkn::webapi::vte
