// Reading an SCGI request (https://python.ca/scgi/protocol.txt).
//
//   "70:" name NUL value NUL name NUL value NUL ... ","  body
//
// The header is a netstring: its length in decimal without leading zeros, a colon, so many bytes, a comma.
// The first name is CONTENT_LENGTH, whose value is the body's length; SCGI is "1".
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "entry/form.h"

namespace kinora::entry {

using Variables = std::map<std::string, std::string, std::less<>>;

inline constexpr size_t kLargestScgiHeader = 64 << 10;
// What holds no more than the two variables that must be there: 24:CONTENT_LENGTH.0.SCGI.1.,
inline constexpr size_t kShortestScgiHeader = 28;

// Collects the bytes of one header as they come in.
class ScgiHeaderReader {
 public:
  // How many more bytes are surely part of a header that can be used, 0 once it is whole. Reading never more
  // than that leaves the body untouched, and takes two steps where the bytes are there.
  size_t Wanted() const;
  // Throws Malformed as soon as what came cannot become a header.
  void Feed(std::string_view bytes);
  // The header once it is whole. Throws Malformed when it is not a list of pairs, gives a name twice, or
  // lacks what must be there.
  Variables Parse() const;

 private:
  std::optional<size_t> length_;  // of the netstring's content, once its colon was seen
  std::string bytes_;             // digits at first, then the content with its comma
};

}  // namespace kinora::entry
