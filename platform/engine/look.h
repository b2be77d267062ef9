// Looking into a media file without trusting it: a helper program without rights reads it through one open
// descriptor.
#pragma once

#include <json/json.h>

#include <optional>
#include <string>

#include "platform/media/video_facts.h"

namespace kinora::engine {

// What the probe helper says of the file, as one JSON object (helpers/probe describes it), or nothing, with
// the reason why. Never throws for what the file holds.
struct Probe {
  std::optional<Json::Value> report;
  bool readable = false;  // false: the file, or the helper, failed us; another try later may succeed
  std::string reason;
  bool busy = false;  // the machine had no time, memory or processes for it just now
};
// Who asks again at once gets the same answer.
Probe ProbeFile(const std::string& path);

// The same as the catalog wants it.
media::LookResult LookAt(const std::string& path);

// A JPEG picture of the film, taken a little way in.
struct Picture {
  std::string jpeg;      // empty when none can be had
  bool lasting = false;  // there will be none as long as the file is what it is
  bool asked = true;     // false: for want of descriptors or processes the film was not looked at
  std::string reason;    // for the log, when there is none
};
// `width` pixels wide (16 to 4096).
Picture TakePicture(const std::string& path, int width);

}  // namespace kinora::engine
