#include "platform/system/languages.h"

#include <gtest/gtest.h>

namespace kinora::system {
namespace {

TEST(Languages, AreWrittenInTheirShortestForm) {
  const std::pair<const char*, const char*> cases[] = {{"ger", "de"},
                                                       {"deu", "de"},
                                                       {"de", "de"},
                                                       {"GER", "de"},
                                                       {"eng", "en"},
                                                       {"chi", "zh"},
                                                       {"zho", "zh"},
                                                       {"fil", "fil"},
                                                       {"pt-BR", "pt-br"},
                                                       {"por-BR", "pt-br"},
                                                       {"zh-Hant-TW", "zh-hant-tw"},
                                                       {"", ""},
                                                       {"und", ""},
                                                       {"mul", ""},
                                                       {"zxx", ""},
                                                       {"english", ""},
                                                       {"e", ""},
                                                       {"d3", ""},
                                                       {"de\"", ""},
                                                       {"de\n", ""},
                                                       {"de-", "de"},
                                                       {"de--at", "de"},
                                                       {"de-\"x\"", "de"},
                                                       {"de-abcdefghi", "de"}};
  for (const auto& [code, tag] : cases) EXPECT_EQ(LanguageTag(code), tag) << code;
}

TEST(Languages, HaveNames) {
  EXPECT_EQ(LanguageName("de"), "German");
  EXPECT_EQ(LanguageName("pt-br"), "Portuguese");
  EXPECT_EQ(LanguageName("fil"), "");
  EXPECT_EQ(LanguageName(""), "");
}

TEST(Languages, AreKnownByTheirCodes) {
  const std::pair<const char*, const char*> cases[] = {
      {"en", "en"}, {"EN", "en"}, {"eng", "en"}, {"ger", "de"}, {"deu", "de"},  {"the", ""},
      {"xx", ""},   {"", ""},     {"e", ""},     {"en ", ""},   {"english", ""}};
  for (const auto& [code, tag] : cases) EXPECT_EQ(LanguageByCode(code), tag) << code;
}

TEST(Languages, AreKnownByTheirNames) {
  const std::pair<const char*, const char*> cases[] = {{"English", "en"}, {"GERMAN", "de"}, {"chinese", "zh"},
                                                       {"Klingon", ""},   {"", ""},         {"en", ""}};
  for (const auto& [name, tag] : cases) EXPECT_EQ(LanguageByName(name), tag) << name;
}

}  // namespace
}  // namespace kinora::system
