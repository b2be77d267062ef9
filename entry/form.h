// Names and values as forms and addresses carry them: application/x-www-form-urlencoded.
//
// Strict, since everything here comes from strangers: "%" is followed by two hexadecimal digits, no decoded
// NUL, every name at most once, bounded counts and lengths. "+" is a blank.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kinora::entry {

using Form = std::map<std::string, std::string, std::less<>>;

inline constexpr size_t kMostFields = 64;
inline constexpr size_t kLongestName = 64;     // bytes, decoded
inline constexpr size_t kLongestValue = 8192;  // bytes, decoded: twice the longest path

// What is wrong with a request, in words that do not repeat it.
class Malformed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Adds the fields of `text` to `form`. Throws Malformed; `form` may then hold some of them.
void ParseForm(std::string_view text, Form& form);

}  // namespace kinora::entry
