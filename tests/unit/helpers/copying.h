// Verbs for tests of copying films: index one, make its fragments, list packets.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {

std::string CopyMedia(const std::string& name);

// What the index helper says of a film, and the file that the remux helper wants.
struct Index {
  int status = -1;
  Json::Value line;
  std::string file;

  size_t Fragments() const { return line["cuts"].size() - 1; }
  int64_t Cut(size_t n) const { return line["cuts"][static_cast<Json::ArrayIndex>(n)].asInt64(); }
};
// Written to `file`. With what the container has; if that is nothing and `scan`, from the whole film.
Index MakeIndex(const std::string& film, const std::string& file, bool scan = true);

// Runs kinora-remux on the film; gives its exit status.
int Remux(const std::string& film, const std::string& index, const std::string& fragment,
          const std::vector<std::string>& arguments);
// Fragment n with these tracks ("-": none).
int RemuxFragment(const std::string& film, const Index& index, size_t n, const std::string& video,
                  const std::string& audio, const std::string& fragment);

struct Copied {
  int64_t pts = 0;  // ticks of the transport clock
  int64_t dts = 0;
  std::string hash;
};
std::ostream& operator<<(std::ostream& out, const Copied& packet);

// Expects the same packets in the same order, their presentation times at most `tolerance` ticks apart, and
// decode times that grow and are not behind the presentation times.
void ExpectSame(const std::vector<Copied>& copied, const std::vector<Copied>& whole, int64_t tolerance);

// The packets of one stream ("0:v:0") of a transport stream, as ffmpeg finds them.
std::vector<Copied> PacketsOf(const std::string& file, const std::string& stream);
// The whole film copied to a transport stream by ffmpeg, media time 0 at 90000.
void CopyWhole(const std::string& film, const std::vector<std::string>& streams, const std::string& target);

}  // namespace kinora::helper
