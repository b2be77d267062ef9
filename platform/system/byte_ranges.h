// The Range header field of a request for a file (RFC 9110, 14.1 and 14.2).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace kinora::system {

struct ByteRange {
  uint64_t first = 0;
  uint64_t length = 0;

  bool operator==(const ByteRange&) const = default;
};

struct RangeDecision {
  enum class Kind {
    kWhole,          // the field is to be ignored
    kPartial,        // `ranges` are to be sent
    kUnsatisfiable,  // none of the ranges touches the file
  };
  Kind kind = Kind::kWhole;
  // Each at least one byte long and within the file, in the order of the request; ranges that overlap or
  // touch have become one, in the place of the first.
  std::vector<ByteRange> ranges;
};

// What the field's value asks of a file of `size` bytes. It is ignored when it is malformed, has another unit
// than bytes, or names more than 100 ranges: nobody plays a film in so small pieces, and putting the pieces
// together would cost more than sending the file.
RangeDecision DecideRanges(std::string_view field, uint64_t size);

}  // namespace kinora::system
