// Numbers on the command line. All operations throw Failure for a text that is none.
#pragma once

#include <charconv>
#include <string_view>

#include "helpers/common/exit_codes.h"
#include "helpers/common/film_index.h"
#include "helpers/common/media_input.h"

namespace kinora::helper {

template <typename Number>
Number NumberFrom(std::string_view text, Number least, Number most) {
  Number number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stop != text.data() + text.size() || number < least || number > most) {
    throw Failure(kUsage, "no such number");
  }
  return number;
}

// Seconds as a fraction, "135135/22500".
Moment MomentFrom(std::string_view text);

}  // namespace kinora::helper
