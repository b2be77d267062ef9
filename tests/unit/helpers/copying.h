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

// Asks the index helper as the engine does, and for the first and the last fragment where it finds any: gives
// all that the helpers answered. For films that mean harm.
std::vector<Ended> CutAndCopy(const std::string& film, const ScratchFolder& folder);

// What a scan in the background does; gives its exit status.
int ScanToFile(const std::string& film, const std::string& file);

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

// The packets of these streams ("v:0") of each of the transport streams, as one run of ffmpeg finds them:
// those of the first file's streams, then those of the second's, and so on.
std::vector<std::vector<Copied>> PacketsOf(const std::vector<std::string>& files,
                                           const std::vector<std::string>& streams);
// The whole film's streams copied to a transport stream by ffmpeg, media time 0 at 90000.
void CopyWhole(const std::string& film, const std::vector<std::string>& streams, const std::string& target);

}  // namespace kinora::helper
