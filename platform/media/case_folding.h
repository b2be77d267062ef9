// Text without regard to case, for names and searches.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kinora::media {

// The text in lower case, in every alphabet that has one; bytes that are no UTF-8 become U+FFFD.
std::string FoldCase(std::string_view text);

// The number of characters of printable UTF-8; 0 when a byte or a character is not.
size_t CountPrintable(std::string_view text);

}  // namespace kinora::media
