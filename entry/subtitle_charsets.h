// The charsets that a viewer may choose for a subtitle file whose own was guessed wrong.
#pragma once

#include <string_view>
#include <vector>

namespace kinora::entry {

struct SubtitleCharset {
  const char* name;   // as the converter knows it; letters, digits and "-" only
  const char* title;  // for the viewer: the writing first, so that the list can be searched by eye
};

// What is no charset but a wish comes first ("auto"), then Unicode, then the writings by their names, each
// with the likeliest charset first.
const std::vector<SubtitleCharset>& SubtitleCharsets();

// Whether it is one of the list, spelt exactly so.
bool IsSubtitleCharset(std::string_view name);

}  // namespace kinora::entry
