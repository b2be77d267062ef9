// Text that comes from file names and other places where bytes are not always text.
#pragma once

#include <string>
#include <string_view>

namespace kinora::base {

// Whether the bytes are well-formed UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool IsUtf8(std::string_view bytes);

// The text with every byte that is not part of well-formed UTF-8 replaced by U+FFFD.
std::string ToUtf8(std::string_view bytes);

// The text as one line that shows on a terminal and in a log as it is: as ToUtf8 gives it, with every control
// character (the C1 ones and the line and direction marks of Unicode too) replaced by '?'.
std::string ToOneLine(std::string_view bytes);

// Without the blanks around it.
std::string_view Trim(std::string_view text, std::string_view blanks = " \t");

// With A to Z as a to z, whatever the locale; all other bytes stay.
std::string ToLowerAscii(std::string_view text);

// The folder that a path names something in: "." for a bare name, "/" for what lies in the root.
std::string FolderOf(const std::string& path);

// Two lower-case digits for each byte.
std::string ToHex(std::string_view bytes);

}  // namespace kinora::base
