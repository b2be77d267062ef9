// SubRip text without what players would show as it stands: control characters, override blocks of ASS/SSA,
// markup.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

struct TagCleanUp {
  bool keep_basic_tags = false;      // b, i, u, font and br stay
  bool strip_stray_brackets = true;  // "<" and ">" outside of tags that stay go
};

// Every line ends in a line feed afterwards; an empty text stays empty. Timing lines ("-->") are never
// touched by a removal. With both options a tag that stays and whose inside holds one of the characters
// "_CRVNED" comes out between the markers "__CRVN_START_" and "_CRVN_END__" instead of brackets.
// Takes time in proportion to the text, whatever it holds.
std::string CleanUpTags(const std::string& text, const TagCleanUp& wishes);

}  // namespace crvnkn::webapi::subtitle
