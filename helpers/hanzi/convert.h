// A text of any length from one Chinese script into the other, in parts.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kinora::helper {

using ConvertPart = std::function<std::string(const std::string&)>;

// The converter takes up to a hundred bytes for each of the text's, and takes a zero byte for the end of it.
// So it gets whole lines, about 64 KiB at a time, and never a zero byte; line ends and zero bytes come out
// where they were. No word goes beyond a line.
std::string ConvertInParts(std::string_view text, const ConvertPart& convert);

}  // namespace kinora::helper
