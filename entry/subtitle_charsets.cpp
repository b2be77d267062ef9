#include "entry/subtitle_charsets.h"

#include <algorithm>

namespace kinora::entry {

const std::vector<SubtitleCharset>& SubtitleCharsets() {
  static const std::vector<SubtitleCharset> kCharsets = {
      {"auto", "Automatic"},

      {"UTF-8", "Unicode (UTF-8)"},
      {"UTF-16LE", "Unicode (UTF-16, little-endian)"},
      {"UTF-16BE", "Unicode (UTF-16, big-endian)"},

      {"CP1256", "Arabic (Windows-1256)"},
      {"ISO-8859-6", "Arabic (ISO 8859-6)"},
      {"CP864", "Arabic (DOS 864)"},
      {"CP1257", "Baltic (Windows-1257)"},
      {"ISO-8859-13", "Baltic (ISO 8859-13)"},
      {"ISO-8859-4", "Baltic (ISO 8859-4)"},
      {"CP775", "Baltic (DOS 775)"},
      {"ISO-8859-14", "Celtic (ISO 8859-14)"},
      {"CP1250", "Central European (Windows-1250)"},
      {"ISO-8859-2", "Central European (ISO 8859-2)"},
      {"CP852", "Central European (DOS 852)"},
      {"GB18030", "Chinese, simplified (GB 18030, GBK, GB 2312)"},
      {"BIG5", "Chinese, traditional (Big5)"},
      {"BIG5-HKSCS", "Chinese, traditional (Big5, Hong Kong)"},
      {"EUC-TW", "Chinese, traditional (EUC)"},
      {"CP1251", "Cyrillic (Windows-1251)"},
      {"KOI8-R", "Cyrillic, Russian (KOI8-R)"},
      {"KOI8-U", "Cyrillic, Ukrainian (KOI8-U)"},
      {"ISO-8859-5", "Cyrillic (ISO 8859-5)"},
      {"CP866", "Cyrillic (DOS 866)"},
      {"CP855", "Cyrillic (DOS 855)"},
      {"MACCYRILLIC", "Cyrillic (Macintosh)"},
      {"CP1253", "Greek (Windows-1253)"},
      {"ISO-8859-7", "Greek (ISO 8859-7)"},
      {"CP737", "Greek (DOS 737)"},
      {"CP1255", "Hebrew (Windows-1255)"},
      {"ISO-8859-8", "Hebrew (ISO 8859-8)"},
      {"CP862", "Hebrew (DOS 862)"},
      {"CP932", "Japanese (Shift JIS)"},
      {"EUC-JP", "Japanese (EUC)"},
      {"ISO-2022-JP", "Japanese (ISO 2022)"},
      {"CP949", "Korean (EUC, Windows-949)"},
      {"JOHAB", "Korean (Johab)"},
      {"ISO-8859-10", "Nordic (ISO 8859-10)"},
      {"ISO-8859-16", "Romanian (ISO 8859-16)"},
      {"ISO-8859-3", "South European (ISO 8859-3)"},
      {"CP874", "Thai (Windows-874)"},
      {"TIS-620", "Thai (TIS-620)"},
      {"CP1254", "Turkish (Windows-1254)"},
      {"ISO-8859-9", "Turkish (ISO 8859-9)"},
      {"CP857", "Turkish (DOS 857)"},
      {"CP1258", "Vietnamese (Windows-1258)"},
      {"VISCII", "Vietnamese (VISCII)"},
      {"CP1252", "Western European (Windows-1252)"},
      {"ISO-8859-15", "Western European (ISO 8859-15)"},
      {"ISO-8859-1", "Western European (ISO 8859-1)"},
      {"CP850", "Western European (DOS 850)"},
      {"CP437", "Western European (DOS 437)"},
      {"MACINTOSH", "Western European (Macintosh)"},
  };
  return kCharsets;
}

bool IsSubtitleCharset(std::string_view name) {
  const std::vector<SubtitleCharset>& all = SubtitleCharsets();
  return std::any_of(all.begin(), all.end(),
                     [&](const SubtitleCharset& charset) { return name == charset.name; });
}

}  // namespace kinora::entry
