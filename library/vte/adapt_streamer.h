// Streams of a manifest and fragments, each fragment made when it is asked for.
#pragma once

#include <string>

#include "contract/engine/adapt_stream.h"
#include "library/vte/streamer.h"

namespace crvnkn::webapi::vte {

// Serves the manifest to a request without a fragment's id, the fragment to one with it. What the formats
// differ in is said by the class of each.
class KINORA_EXPORT AdaptStreamer : public Streamer {
 public:
  AdaptStreamer(const std::string& stream_id, StreamType type);
  ~AdaptStreamer() override;

  void SetFragmentID(const std::string& fragment_id) override;

 protected:
  // Begins with the cross-origin lines, which stay written when what follows fails. Only a fragment marks the
  // stream as used: a player that reads the manifest again and again does not keep it alive.
  bool StreamImp() const override;

  virtual std::string GetOutputManifestPath() const = 0;  // empty: there is none, and nothing is written
  virtual std::string GetManifestMineType() const = 0;    // media type
  virtual std::string GetFragmentMineType() const = 0;    // media type
  virtual const LibCrvnVTE::AdaptStream& GetAdaptStream() const = 0;

 private:
  bool OutputManifest() const;
  bool OutputFragment() const;

  std::string fragment_id_;
};

}  // namespace crvnkn::webapi::vte
