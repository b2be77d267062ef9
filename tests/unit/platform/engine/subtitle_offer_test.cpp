#include "platform/engine/subtitle_offer.h"

#include <gtest/gtest.h>

namespace kinora::engine {
namespace {

FoundSubtitle Found(const std::string& id, const std::string& language = "", const std::string& title = "") {
  return {.id = id, .title = title, .language = language};
}

FoundSubtitle Forced(FoundSubtitle subtitle) {
  subtitle.forced = true;
  return subtitle;
}

FoundSubtitle HearingImpaired(FoundSubtitle subtitle) {
  subtitle.hearing_impaired = true;
  return subtitle;
}

TEST(OfferSubtitles, NamesThemForPeople) {
  const struct {
    FoundSubtitle found;
    const char* name;
  } cases[] = {
      {Found("2", "en", "Commentary"), "Commentary"},
      {Forced(Found("2", "en", "Signs")), "Signs"},
      {Found("2", "en"), "English"},
      {Found("2", "en", " \t"), "English"},
      {Found("/films/film.srt", "en"), "English"},
      {Found("2", "zh-TW"), "Chinese (TW)"},
      {Forced(Found("2", "en")), "English (forced)"},
      {HearingImpaired(Forced(Found("2", "pt-BR"))), "Portuguese (BR, forced, hearing impaired)"},
      {Found("/films/film.srt"), "film.srt"},
      {Found("/films/film.srt", "qqq"), "film.srt"},
      {HearingImpaired(Found("/films/film.sdh.srt")), "film.sdh.srt"},
      {Found("2"), "Subtitle 1"},
      {Found("2", "qqq"), "Subtitle 1"},
      {Forced(Found("DLNA")), "Subtitle 1 (forced)"},
      {Found("2", "", "Say \"hi\"\r\n#EXT-X-ENDLIST"), "Say 'hi'??#EXT-X-ENDLIST"},
      {Found("/films/\xFF.srt"), "\xEF\xBF\xBD.srt"},
  };
  for (const auto& row : cases) EXPECT_EQ(OfferSubtitles({row.found}, "").at(0).name, row.name);
}

TEST(OfferSubtitles, GivesEachANameOfItsOwn) {
  const auto offered = OfferSubtitles(
      {Found("2", "en"), Found("3", "en"), Found("4", "", "English"), Found("5", "", "English (2)"),
       Found("6", "", "A\""), Found("7", "", "A'"), Found("8"), Found("9")},
      "");
  std::vector<std::string> names;
  for (const OfferedSubtitle& subtitle : offered) names.push_back(subtitle.name);
  EXPECT_EQ(names, (std::vector<std::string>{"English", "English (2)", "English (3)", "English (2) (2)", "A'",
                                             "A' (2)", "Subtitle 7", "Subtitle 8"}));
}

TEST(OfferSubtitles, KeepsOrderAndMarks) {
  const auto offered = OfferSubtitles(
      {Found("/films/film.en.srt", "en"), Forced(Found("2", "de")), HearingImpaired(Found("3"))}, "");
  EXPECT_EQ(offered, (std::vector<OfferedSubtitle>{
                         {"/films/film.en.srt", "English", "en", false, true, false, false},
                         {"2", "German (forced)", "de", false, true, true, false},
                         {"3", "Subtitle 3 (hearing impaired)", "", false, false, false, true},
                     }));
}

std::string Defaults(const std::vector<OfferedSubtitle>& offered) {
  std::string marks;
  for (const OfferedSubtitle& subtitle : offered) marks += subtitle.is_default ? 'D' : '-';
  return marks;
}

std::string Selected(const std::vector<OfferedSubtitle>& offered) {
  std::string marks;
  for (const OfferedSubtitle& subtitle : offered) marks += subtitle.auto_select ? 'S' : '-';
  return marks;
}

TEST(OfferSubtitles, ShowsTheChosenOneAlone) {
  const std::vector<FoundSubtitle> found = {Found("/films/2", "en"), Found("2", "en"), Found("3", "en")};
  EXPECT_EQ(Defaults(OfferSubtitles(found, "")), "---");
  EXPECT_EQ(Defaults(OfferSubtitles(found, "2")), "-D-");
  EXPECT_EQ(Defaults(OfferSubtitles(found, "/films/2")), "D--");
  EXPECT_EQ(Defaults(OfferSubtitles(found, "4")), "---");
  EXPECT_EQ(Defaults(OfferSubtitles({}, "2")), "");
}

TEST(OfferSubtitles, LetsPlayersSelectOneOfEachKind) {
  const std::vector<FoundSubtitle> found = {
      Found("1", "en"),         Found("2", "en"),
      Forced(Found("3", "en")), HearingImpaired(Found("4", "en")),
      Found("5", "de"),         Found("6"),
      Forced(Found("7", "en")), HearingImpaired(Forced(Found("8", "en")))};
  EXPECT_EQ(Selected(OfferSubtitles(found, "")), "S-SSS--S");
  EXPECT_EQ(Selected(OfferSubtitles(found, "2")), "-SSSS--S");  // a default is always selected
  EXPECT_EQ(Selected(OfferSubtitles(found, "6")), "S-SSSS-S");  // and needs no language
}

TEST(OfferSubtitles, OffersNoEndlessList) {
  std::vector<FoundSubtitle> found;
  for (int i = 0; i < 300; ++i) found.push_back(Found(std::to_string(i), "en"));
  const auto first = OfferSubtitles(found, "");
  ASSERT_EQ(first.size(), 256U);
  EXPECT_EQ(first.back().id, "255");
  const auto with_chosen = OfferSubtitles(found, "299");
  ASSERT_EQ(with_chosen.size(), 256U);
  EXPECT_EQ(with_chosen.at(254).id, "254");
  EXPECT_EQ(with_chosen.back().id, "299");
  EXPECT_TRUE(with_chosen.back().is_default);
  EXPECT_EQ(OfferSubtitles(found, "255").back().id, "255");
}

}  // namespace
}  // namespace kinora::engine
