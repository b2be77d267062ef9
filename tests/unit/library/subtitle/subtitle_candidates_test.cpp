#include "library/subtitle/subtitle_candidates.h"

#include "tests/unit/library/subtitle/plugin_test.h"

namespace crvnkn::webapi::subtitle {
namespace {

class SubtitleCandidatesTest : public kinora::fakes::PluginTest {
 protected:
  static std::vector<Candidate> Of(const std::string& items) {
    return CandidatesOf(Parse("{\"items\": [" + items + "]}"));
  }
};

TEST_F(SubtitleCandidatesTest, AreTheItemsInTheirOrder) {
  EXPECT_EQ(
      Of(R"({"plugin_id": "b", "id": "2"}, {"plugin_id": "a", "id": "1"}, {"plugin_id": "b", "id": "2"})"),
      (std::vector<Candidate>{{"b", "2"}, {"a", "1"}, {"b", "2"}}));
}

TEST_F(SubtitleCandidatesTest, TakeNumbersForText) {
  EXPECT_EQ(Of(R"({"plugin_id": "a", "id": 1954321})"), (std::vector<Candidate>{{"a", "1954321"}}));
}

TEST_F(SubtitleCandidatesTest, LeaveOutItemsThatLackAnId) {
  for (const char* const item :
       {R"({"plugin_id": "a"})", R"({"id": "1"})", R"({"plugin_id": "", "id": "1"})",
        R"({"plugin_id": "a", "id": ""})", R"({"plugin_id": "a", "id": null})",
        R"({"plugin_id": "a", "id": ["1"]})", R"({"plugin_id": {}, "id": "1"})", "{}", "[]", "1", "null"}) {
    EXPECT_EQ(Of(std::string(item) + R"(, {"plugin_id": "b", "id": "2"})"),
              (std::vector<Candidate>{{"b", "2"}}))
        << item;
    EXPECT_EQ(Of(item), std::vector<Candidate>()) << item;
  }
}

TEST_F(SubtitleCandidatesTest, CannotBeToldWithoutAnArrayOfItems) {
  for (const char* const result :
       {"{}", R"({"items": null})", R"({"items": {}})", R"({"items": "x"})", "[]", "[1]"}) {
    ExpectError(101, "", [&] { CandidatesOf(Parse(result)); });
  }
  ExpectError(101, "", [] { CandidatesOf(Json::Value()); });
  ExpectError(101, "", [] { CandidatesOf(Json::Value("items")); });
}

TEST_F(SubtitleCandidatesTest, AreMissingWhenTheSearchFoundNothing) {
  ExpectError(30000, "", [] { Of(""); });
}

}  // namespace
}  // namespace crvnkn::webapi::subtitle
