// The charsets of subtitle files: naming one, and converting from it to UTF-8.
#pragma once

#include <string>

#include "library/export.h"

namespace crvnkn::webapi {

// A column of the table of system code pages.
enum CodePageType {
  CODEPAGE_CHARSET = 0,        // the charset to assume when nothing better is known
  CODEPAGE_ENCA_LANGUAGE = 1,  // the language by which Enca tells its charsets apart
};

// The system code page of this machine ("enu", "cht", ...), from /etc/crvninfo.conf; empty when it names
// none.
KINORA_EXPORT std::string GetCrvnLanguage();

// What the table has for a system code page, which is compared exactly; empty when the table does not know
// it, or has nothing in that column.
KINORA_EXPORT std::string GetCodepageName(const std::string& codepage, CodePageType type);

// The charset of the bytes by Enca's judgement, under the name that iconv knows; empty when Enca cannot tell
// or does not know the language ("zh", "ru", ..., "__" for none in particular).
KINORA_EXPORT std::string AnalyzeEncodingByEnca(const std::string& language, const unsigned char* data,
                                                unsigned int length);

// The charset of the file, judged by its first 100 KiB, or, when they do not tell, that of the system code
// page; always with its byte order. Empty when the file cannot be read or is empty, or nothing is known.
// Neither logs nor throws.
KINORA_EXPORT std::string AnalyzeEncoding(const std::string& path);

// Runs the converter once; false when an argument is empty, or, with a line in the log, when the converter
// could not be run to its end. How it judged its work, and what it left at `output`, is for the caller to
// see.
KINORA_EXPORT bool EncodeToUTF8(const std::string& source, const std::string& output,
                                const std::string& from);

// Writes the text of the file `source` to the file `output`, in UTF-8. `charset` as iconv knows it, or "auto"
// for AnalyzeEncoding's. false, with a line in the log, as EncodeToUTF8 or when there is no charset.
KINORA_EXPORT bool ToUTF8(const std::string& source, const std::string& charset, const std::string& output);

}  // namespace crvnkn::webapi
