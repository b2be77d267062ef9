// The languages of tracks.
#pragma once

#include <string>
#include <string_view>

namespace kinora::engine {

// The tag (RFC 5646, in its shortest form: "ger" and "deu" are "de") for what a file says its language is, or
// nothing where that is no language.
std::string LanguageTag(std::string_view code);

// Its name in English, for people; empty when it is not known.
std::string LanguageName(std::string_view tag);

}  // namespace kinora::engine
