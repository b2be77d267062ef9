// The charset of a subtitle file whose name says its language.
//
// The library guesses for the machine's own language, so a Russian file on a machine that is set up in
// English would come out in Latin letters. Where the name tells the language, the guess is made for that one.
#pragma once

#include <string>

namespace kinora::entry {

// A charset of SubtitleCharsets(); "auto" where the name does not tell, or the content alone does (Unicode,
// ASCII).
std::string GuessSubtitleCharset(const std::string& path);

}  // namespace kinora::entry
