#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::Show;

class StreamUrl : public kinora::fakes::ScriptedTest {
 protected:
  StreamUrl() : initer_(Request("/v/film.mkv", "hls")) {
    initer_.host_prefix = "https://nas:5001";
    initer_.cgi_path = "/webapi/stream.cgi";
    initer_.api = "CRVN.Kinora2.Stream";
    initer_.sid = "session";
  }

  // A request that gives every parameter there is.
  void FillIn() {
    initer_.id = 42;
    initer_.subtitle_id = "7";
    initer_.uid = 1026;
    initer_.token = "token";
    initer_.sharing_id = "link";
    initer_.force_open_vte = true;
    initer_.hls_header = true;
  }

  StreamIniter initer_;
};

TEST_F(StreamUrl, OfHlsNamesTheSession) {
  EXPECT_EQ(
      Show(initer_.GetJsonStreamURL()),
      R"({"_sid":"session","api":"CRVN.Kinora2.Stream","force_open_vte":false,"format":"hls",)"
      R"("hls_header":false,"method":"stream","url":"https://nas:5001/webapi/stream.cgi","version":1})");
}

TEST_F(StreamUrl, OfHlsCarriesTokenAndFlags) {
  FillIn();
  EXPECT_EQ(Show(initer_.GetJsonStreamURL()),
            R"({"CrvnToken":"token","_sid":"session","api":"CRVN.Kinora2.Stream","force_open_vte":true,)"
            R"("format":"hls","hls_header":true,"method":"stream",)"
            R"("url":"https://nas:5001/webapi/stream.cgi","version":1})");
}

TEST_F(StreamUrl, OfHlsNamesTheSharingLinkInTheSessionsPlace) {
  FillIn();
  initer_.is_sharing = true;
  EXPECT_EQ(Show(initer_.GetJsonStreamURL()),
            R"({"CrvnToken":"token","api":"CRVN.Kinora2.Stream","force_open_vte":true,"format":"hls",)"
            R"("hls_header":true,"method":"stream","sharing_id":"link",)"
            R"("url":"https://nas:5001/webapi/stream.cgi","version":1})");
}

TEST_F(StreamUrl, OfHlsKeepsItsFormWhenNothingIsGiven) {
  EXPECT_EQ(Show(StreamIniter(Request("/v/film.mkv", "hls")).GetJsonStreamURL()),
            R"({"_sid":"","api":"","force_open_vte":false,"format":"hls","hls_header":false,)"
            R"("method":"stream","url":"","version":1})");
}

TEST_F(StreamUrl, OfHlsNamesAnEmptySharingLink) {
  initer_.is_sharing = true;
  const Json::Value url = initer_.GetJsonStreamURL();
  EXPECT_EQ(Show(url["sharing_id"]), R"("")");
  EXPECT_FALSE(url.isMember("_sid"));
}

TEST_F(StreamUrl, OfSmoothStreamingNamesNothingButTheSession) {
  FillIn();
  const std::string expected =
      R"({"_sid":"session","api":"CRVN.Kinora2.Stream","format":"ss","method":"stream",)"
      R"("url":"https://nas:5001/webapi/stream.cgi","version":1})";
  EXPECT_EQ(Show(initer_.GetSSJsonStreamURL()), expected);
  initer_.is_sharing = true;
  EXPECT_EQ(Show(initer_.GetSSJsonStreamURL()), expected);
}

TEST_F(StreamUrl, OfSmoothStreamingLeavesOutASessionThatIsNotThere) {
  initer_.sid = "";
  const std::string expected = R"({"api":"CRVN.Kinora2.Stream","format":"ss","method":"stream",)"
                               R"("url":"https://nas:5001/webapi/stream.cgi","version":1})";
  EXPECT_EQ(Show(initer_.GetSSJsonStreamURL()), expected);
  initer_.is_sharing = true;
  initer_.sharing_id = "link";
  EXPECT_EQ(Show(initer_.GetSSJsonStreamURL()), expected);
}

TEST_F(StreamUrl, OfTheSubtitleHasAPathOfItsOwn) {
  EXPECT_EQ(Show(initer_.GetJsonSubtitleURL()),
            R"({"_sid":"session","api":"CRVN.Kinora2.Subtitle","method":"get",)"
            R"("url":"https://nas:5001/webapi/entry.cgi","version":1})");
}

TEST_F(StreamUrl, OfTheSubtitleCarriesVideoSubtitleAndAccount) {
  FillIn();
  EXPECT_EQ(Show(initer_.GetJsonSubtitleURL()),
            R"({"CrvnToken":"token","_sid":"session","api":"CRVN.Kinora2.Subtitle","id":42,)"
            R"("method":"get","subtitle_id":"7","uid":1026,)"
            R"("url":"https://nas:5001/webapi/entry.cgi","version":1})");
}

TEST_F(StreamUrl, OfTheSubtitleNamesTheSharingLinkInTheSessionsPlace) {
  FillIn();
  initer_.is_sharing = true;
  EXPECT_EQ(Show(initer_.GetJsonSubtitleURL()),
            R"({"CrvnToken":"token","api":"CRVN.Kinora2.Subtitle","id":42,"method":"get",)"
            R"("sharing_id":"link","subtitle_id":"7","uid":1026,)"
            R"("url":"https://nas:5001/webapi/entry.cgi","version":1})");
}

TEST_F(StreamUrl, OfTheSubtitleNamesAnEmptySession) {
  initer_.sid = "";
  EXPECT_EQ(Show(initer_.GetJsonSubtitleURL()["_sid"]), R"("")");
}

TEST_F(StreamUrl, OfTheSubtitleLeavesOutAnIdThatIsNone) {
  for (const int id : {-1, 0}) {
    initer_.id = id;
    EXPECT_FALSE(initer_.GetJsonSubtitleURL().isMember("id")) << id;
  }
  initer_.id = 1;
  EXPECT_EQ(Show(initer_.GetJsonSubtitleURL()["id"]), "1");
}

TEST_F(StreamUrl, OfTheSubtitleLeavesOutAnAccountThatIsNone) {
  for (const int uid : {-1, 0}) {
    initer_.uid = uid;
    EXPECT_FALSE(initer_.GetJsonSubtitleURL().isMember("uid")) << uid;
  }
  initer_.uid = 1;
  EXPECT_EQ(Show(initer_.GetJsonSubtitleURL()["uid"]), "1");
}

TEST_F(StreamUrl, OfASubtitleOnNobodysBehalfIsRefused) {
  initer_.subtitle_id = "7";
  for (const int uid : {-1, 0}) {
    initer_.uid = uid;
    ExpectError(101, "Bad parameter uid", [&] { initer_.GetJsonSubtitleURL(); });
    EXPECT_NO_THROW(initer_.GetJsonStreamURL());
    EXPECT_NO_THROW(initer_.GetSSJsonStreamURL());
  }
}

}  // namespace
}  // namespace crvnkn::webapi::vte
