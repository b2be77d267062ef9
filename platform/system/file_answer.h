// How a request for a file is to be answered: decided from the request and the file's facts alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/system/byte_ranges.h"
#include "platform/system/conditions.h"

namespace kinora::system {

struct FileRequest {
  std::string method = "GET";
  std::optional<std::string> range = std::nullopt;
  Conditions conditions;
};

struct FileFacts {
  uint64_t size = 0;
  Validators validators;
  std::string type;  // the media type
};

struct BodyPart {
  std::string heading;  // bytes in front of those of the file
  ByteRange range;
};

struct FileAnswer {
  std::string headers;          // CGI header lines and the empty line that ends them
  std::vector<BodyPart> parts;  // none: no body
  std::string closing;          // bytes after the last part
};

// GET and HEAD are answered with conditions, GET alone with ranges; every other method gets the whole file.
// `boundary` stands between the parts of several ranges and must not occur in the file.
FileAnswer DecideFileAnswer(const FileRequest& request, const FileFacts& file, int64_t now,
                            const std::string& boundary);

// The strong tag of a file's content, or a weak one as long as the content may still change within the same
// tick of the clock: in the second after its last change.
std::string MakeEtag(uint64_t inode, uint64_t size, int64_t modified_ns, int64_t now_ns);

}  // namespace kinora::system
