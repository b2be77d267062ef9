// The languages of tracks and subtitles.
#pragma once

#include <string>
#include <string_view>

namespace kinora::system {

// The tag (RFC 5646, in its shortest form: "ger" and "deu" are "de") for what a file says its language is, or
// nothing where that is no language.
std::string LanguageTag(std::string_view code);

// Its name in English, for people; empty when it is not known.
std::string LanguageName(std::string_view tag);

// The tag of a language by its code of two or three letters, or by its name in English, in whatever case;
// empty when it is neither. Other than LanguageTag this tells words that are no language from those that are.
std::string LanguageByCode(std::string_view code);
std::string LanguageByName(std::string_view name);

}  // namespace kinora::system
