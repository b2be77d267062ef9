#include "platform/system/languages.h"

#include <algorithm>

#include "platform/base/text.h"

namespace kinora::system {
namespace {

constexpr size_t kLongestTag = 35;

// The languages with a code of two letters (ISO 639-1); those with two codes of three letters (ISO 639-2)
// bear both, for terminology and for bibliography.
struct Language {
  std::string_view two;
  std::string_view three;
  std::string_view other;
  std::string_view name;
};

constexpr Language kLanguages[] = {
    {"aa", "aar", "aar", "Afar"},
    {"ab", "abk", "abk", "Abkhazian"},
    {"ae", "ave", "ave", "Avestan"},
    {"af", "afr", "afr", "Afrikaans"},
    {"ak", "aka", "aka", "Akan"},
    {"am", "amh", "amh", "Amharic"},
    {"an", "arg", "arg", "Aragonese"},
    {"ar", "ara", "ara", "Arabic"},
    {"as", "asm", "asm", "Assamese"},
    {"av", "ava", "ava", "Avaric"},
    {"ay", "aym", "aym", "Aymara"},
    {"az", "aze", "aze", "Azerbaijani"},
    {"ba", "bak", "bak", "Bashkir"},
    {"be", "bel", "bel", "Belarusian"},
    {"bg", "bul", "bul", "Bulgarian"},
    {"bi", "bis", "bis", "Bislama"},
    {"bm", "bam", "bam", "Bambara"},
    {"bn", "ben", "ben", "Bengali"},
    {"bo", "bod", "tib", "Tibetan"},
    {"br", "bre", "bre", "Breton"},
    {"bs", "bos", "bos", "Bosnian"},
    {"ca", "cat", "cat", "Catalan"},
    {"ce", "che", "che", "Chechen"},
    {"ch", "cha", "cha", "Chamorro"},
    {"co", "cos", "cos", "Corsican"},
    {"cr", "cre", "cre", "Cree"},
    {"cs", "ces", "cze", "Czech"},
    {"cu", "chu", "chu", "Church Slavic"},
    {"cv", "chv", "chv", "Chuvash"},
    {"cy", "cym", "wel", "Welsh"},
    {"da", "dan", "dan", "Danish"},
    {"de", "deu", "ger", "German"},
    {"dv", "div", "div", "Divehi"},
    {"dz", "dzo", "dzo", "Dzongkha"},
    {"ee", "ewe", "ewe", "Ewe"},
    {"el", "ell", "gre", "Greek"},
    {"en", "eng", "eng", "English"},
    {"eo", "epo", "epo", "Esperanto"},
    {"es", "spa", "spa", "Spanish"},
    {"et", "est", "est", "Estonian"},
    {"eu", "eus", "baq", "Basque"},
    {"fa", "fas", "per", "Persian"},
    {"ff", "ful", "ful", "Fulah"},
    {"fi", "fin", "fin", "Finnish"},
    {"fj", "fij", "fij", "Fijian"},
    {"fo", "fao", "fao", "Faroese"},
    {"fr", "fra", "fre", "French"},
    {"fy", "fry", "fry", "Western Frisian"},
    {"ga", "gle", "gle", "Irish"},
    {"gd", "gla", "gla", "Gaelic"},
    {"gl", "glg", "glg", "Galician"},
    {"gn", "grn", "grn", "Guarani"},
    {"gu", "guj", "guj", "Gujarati"},
    {"gv", "glv", "glv", "Manx"},
    {"ha", "hau", "hau", "Hausa"},
    {"he", "heb", "heb", "Hebrew"},
    {"hi", "hin", "hin", "Hindi"},
    {"ho", "hmo", "hmo", "Hiri Motu"},
    {"hr", "hrv", "hrv", "Croatian"},
    {"ht", "hat", "hat", "Haitian Creole"},
    {"hu", "hun", "hun", "Hungarian"},
    {"hy", "hye", "arm", "Armenian"},
    {"hz", "her", "her", "Herero"},
    {"ia", "ina", "ina", "Interlingua"},
    {"id", "ind", "ind", "Indonesian"},
    {"ie", "ile", "ile", "Interlingue"},
    {"ig", "ibo", "ibo", "Igbo"},
    {"ii", "iii", "iii", "Sichuan Yi"},
    {"ik", "ipk", "ipk", "Inupiaq"},
    {"io", "ido", "ido", "Ido"},
    {"is", "isl", "ice", "Icelandic"},
    {"it", "ita", "ita", "Italian"},
    {"iu", "iku", "iku", "Inuktitut"},
    {"ja", "jpn", "jpn", "Japanese"},
    {"jv", "jav", "jav", "Javanese"},
    {"ka", "kat", "geo", "Georgian"},
    {"kg", "kon", "kon", "Kongo"},
    {"ki", "kik", "kik", "Kikuyu"},
    {"kj", "kua", "kua", "Kuanyama"},
    {"kk", "kaz", "kaz", "Kazakh"},
    {"kl", "kal", "kal", "Kalaallisut"},
    {"km", "khm", "khm", "Khmer"},
    {"kn", "kan", "kan", "Kannada"},
    {"ko", "kor", "kor", "Korean"},
    {"kr", "kau", "kau", "Kanuri"},
    {"ks", "kas", "kas", "Kashmiri"},
    {"ku", "kur", "kur", "Kurdish"},
    {"kv", "kom", "kom", "Komi"},
    {"kw", "cor", "cor", "Cornish"},
    {"ky", "kir", "kir", "Kirghiz"},
    {"la", "lat", "lat", "Latin"},
    {"lb", "ltz", "ltz", "Luxembourgish"},
    {"lg", "lug", "lug", "Ganda"},
    {"li", "lim", "lim", "Limburgan"},
    {"ln", "lin", "lin", "Lingala"},
    {"lo", "lao", "lao", "Lao"},
    {"lt", "lit", "lit", "Lithuanian"},
    {"lu", "lub", "lub", "Luba-Katanga"},
    {"lv", "lav", "lav", "Latvian"},
    {"mg", "mlg", "mlg", "Malagasy"},
    {"mh", "mah", "mah", "Marshallese"},
    {"mi", "mri", "mao", "Maori"},
    {"mk", "mkd", "mac", "Macedonian"},
    {"ml", "mal", "mal", "Malayalam"},
    {"mn", "mon", "mon", "Mongolian"},
    {"mr", "mar", "mar", "Marathi"},
    {"ms", "msa", "may", "Malay"},
    {"mt", "mlt", "mlt", "Maltese"},
    {"my", "mya", "bur", "Burmese"},
    {"na", "nau", "nau", "Nauru"},
    {"nb", "nob", "nob", "Norwegian Bokmål"},
    {"nd", "nde", "nde", "North Ndebele"},
    {"ne", "nep", "nep", "Nepali"},
    {"ng", "ndo", "ndo", "Ndonga"},
    {"nl", "nld", "dut", "Dutch"},
    {"nn", "nno", "nno", "Norwegian Nynorsk"},
    {"no", "nor", "nor", "Norwegian"},
    {"nr", "nbl", "nbl", "South Ndebele"},
    {"nv", "nav", "nav", "Navajo"},
    {"ny", "nya", "nya", "Chichewa"},
    {"oc", "oci", "oci", "Occitan"},
    {"oj", "oji", "oji", "Ojibwa"},
    {"om", "orm", "orm", "Oromo"},
    {"or", "ori", "ori", "Oriya"},
    {"os", "oss", "oss", "Ossetian"},
    {"pa", "pan", "pan", "Punjabi"},
    {"pi", "pli", "pli", "Pali"},
    {"pl", "pol", "pol", "Polish"},
    {"ps", "pus", "pus", "Pashto"},
    {"pt", "por", "por", "Portuguese"},
    {"qu", "que", "que", "Quechua"},
    {"rm", "roh", "roh", "Romansh"},
    {"rn", "run", "run", "Rundi"},
    {"ro", "ron", "rum", "Romanian"},
    {"ru", "rus", "rus", "Russian"},
    {"rw", "kin", "kin", "Kinyarwanda"},
    {"sa", "san", "san", "Sanskrit"},
    {"sc", "srd", "srd", "Sardinian"},
    {"sd", "snd", "snd", "Sindhi"},
    {"se", "sme", "sme", "Northern Sami"},
    {"sg", "sag", "sag", "Sango"},
    {"si", "sin", "sin", "Sinhala"},
    {"sk", "slk", "slo", "Slovak"},
    {"sl", "slv", "slv", "Slovenian"},
    {"sm", "smo", "smo", "Samoan"},
    {"sn", "sna", "sna", "Shona"},
    {"so", "som", "som", "Somali"},
    {"sq", "sqi", "alb", "Albanian"},
    {"sr", "srp", "srp", "Serbian"},
    {"ss", "ssw", "ssw", "Swati"},
    {"st", "sot", "sot", "Sotho"},
    {"su", "sun", "sun", "Sundanese"},
    {"sv", "swe", "swe", "Swedish"},
    {"sw", "swa", "swa", "Swahili"},
    {"ta", "tam", "tam", "Tamil"},
    {"te", "tel", "tel", "Telugu"},
    {"tg", "tgk", "tgk", "Tajik"},
    {"th", "tha", "tha", "Thai"},
    {"ti", "tir", "tir", "Tigrinya"},
    {"tk", "tuk", "tuk", "Turkmen"},
    {"tl", "tgl", "tgl", "Tagalog"},
    {"tn", "tsn", "tsn", "Tswana"},
    {"to", "ton", "ton", "Tonga"},
    {"tr", "tur", "tur", "Turkish"},
    {"ts", "tso", "tso", "Tsonga"},
    {"tt", "tat", "tat", "Tatar"},
    {"tw", "twi", "twi", "Twi"},
    {"ty", "tah", "tah", "Tahitian"},
    {"ug", "uig", "uig", "Uighur"},
    {"uk", "ukr", "ukr", "Ukrainian"},
    {"ur", "urd", "urd", "Urdu"},
    {"uz", "uzb", "uzb", "Uzbek"},
    {"ve", "ven", "ven", "Venda"},
    {"vi", "vie", "vie", "Vietnamese"},
    {"vo", "vol", "vol", "Volapük"},
    {"wa", "wln", "wln", "Walloon"},
    {"wo", "wol", "wol", "Wolof"},
    {"xh", "xho", "xho", "Xhosa"},
    {"yi", "yid", "yid", "Yiddish"},
    {"yo", "yor", "yor", "Yoruba"},
    {"za", "zha", "zha", "Zhuang"},
    {"zh", "zho", "chi", "Chinese"},
    {"zu", "zul", "zul", "Zulu"},
};

const Language* Find(std::string_view code) {
  const auto* const found =
      std::find_if(std::begin(kLanguages), std::end(kLanguages), [code](const Language& language) {
        return code == language.two || code == language.three || code == language.other;
      });
  return found == std::end(kLanguages) ? nullptr : found;
}

bool IsLetter(char c) { return c >= 'a' && c <= 'z'; }
bool IsLetterOrDigit(char c) { return IsLetter(c) || (c >= '0' && c <= '9'); }

// Further subtags: one to eight letters and digits each.
bool AreSubtags(std::string_view rest) {
  size_t length = 0;
  for (const char c : rest) {
    if (c == '-' ? length == 0 : !IsLetterOrDigit(c)) return false;
    length = c == '-' ? 0 : length + 1;
    if (length > 8) return false;
  }
  return length > 0;
}

}  // namespace

std::string LanguageTag(std::string_view code) {
  const std::string text = base::ToLowerAscii(code);
  const std::string language = text.substr(0, text.find('-'));
  for (const char* none : {"und", "mis", "mul", "zxx"}) {
    if (language == none) return "";
  }
  if (language.size() < 2 || language.size() > 3 || !std::all_of(language.begin(), language.end(), IsLetter))
    return "";
  const Language* const known = Find(language);
  const std::string tag = known == nullptr ? language : std::string(known->two);
  if (text.size() == language.size()) return tag;
  const std::string rest = text.substr(language.size() + 1);
  return text.size() <= kLongestTag && AreSubtags(rest) ? tag + "-" + rest : tag;
}

std::string LanguageByCode(std::string_view code) {
  const Language* const known = Find(base::ToLowerAscii(code));
  return known == nullptr ? "" : std::string(known->two);
}

std::string LanguageByName(std::string_view name) {
  const std::string text = base::ToLowerAscii(name);
  for (const Language& language : kLanguages) {
    if (text == base::ToLowerAscii(language.name)) return std::string(language.two);
  }
  return "";
}

std::string LanguageName(std::string_view tag) {
  const Language* const known = Find(tag.substr(0, tag.find('-')));
  return known == nullptr ? "" : std::string(known->name);
}

}  // namespace kinora::system
