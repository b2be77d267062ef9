// Writing to a descriptor what write() alone may take in parts.
#pragma once

#include <string_view>

namespace kinora::helper {

// false when the descriptor takes no more.
bool WriteAll(int descriptor, std::string_view bytes);

}  // namespace kinora::helper
