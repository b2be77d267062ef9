// Who gets a stream's playlists and fragments, and what the others are told. A fragment that lies on the disk
// already is no exception.
#include <gtest/gtest.h>

#include "tests/http/hls_expectations.h"

using namespace kinora::test;

namespace {

constexpr char kFilm[] =
    "languages.mkv";  // with two audio tracks, each a rendition of its own, and two subtitles

// The master playlist, all others, and the first fragment of each of picture and sound.
std::vector<std::string> RoutesOf(const HlsViewer& viewer, const HlsStream& stream) {
  const std::string master = viewer.Address(stream, {});
  std::vector<std::string> routes = {master};
  const Playlist playlist = viewer.GetPlaylist(master);
  routes.insert(routes.end(), playlist.addresses.begin(), playlist.addresses.end());
  routes.insert(routes.end(), playlist.renditions.begin(), playlist.renditions.end());
  routes.insert(routes.end(), playlist.subtitles.begin(), playlist.subtitles.end());
  for (const Playlist& media : viewer.MediaPlaylists(stream)) routes.push_back(media.addresses.at(0));
  return routes;
}

std::string With(const std::string& route, const std::string& sid, const std::string& other) {
  const size_t at = route.find("_sid=" + sid);
  if (at == std::string::npos) throw std::runtime_error("no session in " + route);
  return route.substr(0, at) + (other.empty() ? "x=" : "_sid=" + other) + route.substr(at + 5 + sid.size());
}

}  // namespace

TEST(HlsAccess, IsTheOpenersWhileHisSessionLasts) {
  const House house({kFilm});
  const HlsViewer ann(house, house.SignIn("ann"));
  const SignedIn again = house.SignIn("ann");
  const SignedIn bob = house.SignIn("bob");
  const HlsStream stream = ann.Open(kFilm, "hls_remux");
  const std::vector<std::string> routes = RoutesOf(ann, stream);
  EXPECT_EQ(routes.size(), 9U) << "a master, a picture and two sounds with a fragment each, two subtitles";
  const std::string& sid = ann.Who().sid;
  for (const std::string& route : routes) {
    EXPECT_EQ(ann.Get(route).status, 200) << route;
    EXPECT_EQ(ann.Get(With(route, sid, again.sid)).status, 200) << "the account counts, not the session";
    EXPECT_EQ(ann.Get(With(route, sid, ""), {"Cookie: kinora_session=" + sid}).status, 200);
    ExpectRefused(ann.Get(With(route, sid, "")), 401, 124, "no session: ");
    ExpectRefused(ann.Get(With(route, sid, std::string(43, 'A'))), 401, 124, "a made up session: ");
    ExpectRefused(ann.Get(With(route, sid, bob.sid)), 404, 128, "somebody else: ");
    EXPECT_EQ(ann.Get(With(route, sid, ""), {}, "HEAD").status, 401) << route;
    EXPECT_EQ(ann.Get(With(route, sid, ""), {"Range: bytes=0-9"}).status, 401) << route;
  }

  ASSERT_EQ(CodeOf(house.Send({"Session", "sign_out", {}, "POST", sid, ann.Who().token})), 0);
  for (const std::string& route : routes) {
    ExpectRefused(ann.Get(route), 401, 124, "a revoked session: ");
    EXPECT_EQ(ann.Get(With(route, sid, again.sid)).status, 200) << "another one of the same account";
  }
  ExpireAllSessions();
  for (const std::string& route : routes)
    ExpectRefused(ann.Get(With(route, sid, again.sid)), 401, 124, "an expired session: ");
}

TEST(HlsAccess, IsTheOpenersOnlyForClosingToo) {
  const House house({kFilm});
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsViewer bob(house, house.SignIn("bob"));
  const HlsStream stream = ann.Open(kFilm, "hls_remux");
  EXPECT_EQ(CodeOf(bob.Close(stream)), 128);
  EXPECT_EQ(CodeOf(ann.Close({stream.id, "raw"})), 128) << "a stream of another type";
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 128);
}

TEST(HlsErrors, MayBeReadFromAnyOrigin) {
  const House house({kFilm});
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kFilm, "hls_remux");
  struct Case {
    Parameters parameters;
    int status;
    int code;
  };
  const Case kCases[] = {
      {{{"fragment", "999999"}}, 404, 128},
      {{{"fragment", "1000000"}}, 404, 128},
      {{{"fragment", "00"}}, 404, 128},
      {{{"fragment", "-1"}}, 400, 101},
      {{{"fragment", "../owner"}}, 400, 101},
      {{{"fragment", "a0_0"}}, 404, 128},
      {{{"fragment", "a77_0"}}, 404, 128},
      {{{"fragment", "a1_999999"}}, 404, 128},
      {{{"fragment", "work"}}, 404, 128},
      {{{"playlist", "nothing"}}, 404, 128},
      {{{"playlist", "audio_77"}}, 404, 128},
      {{{"playlist", "../plan"}}, 400, 101},
      {{{"subtitle_id", "/etc/passwd"}}, 400, 101},
      {{{"playlist", "video"}, {"subtitle_id", "/etc/passwd"}}, 400, 101},
      {{{"playlist", "subtitle"}, {"subtitle_id", "/etc/passwd"}}, 404, 128},
      {{{"playlist", "subtitle"}, {"subtitle_id", "../owner"}}, 400, 101},
      {{{"playlist", "subtitle"}, {"subtitle_id", "77"}}, 404, 128},
      {{{"playlist", "subtitle"}}, 404, 128},
      {{{"format", "raw"}}, 404, 128},
      {{{"format", "mp4"}}, 400, 101},
      {{{"id", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"}}, 404, 128},
      {{{"id", "../HLS"}}, 404, 128},
      {{{"version", "2"}}, 404, 123},
  };
  for (const Case& c : kCases) {
    const std::string address = ann.Address(stream, c.parameters);
    const Reply reply = ann.Get(address, {"Origin: http://cast.example"});
    EXPECT_EQ(reply.status, c.status) << address << reply.body;
    EXPECT_EQ(CodeOf(reply), c.code) << address << reply.body;
    ExpectForAnyOriginOnce(reply, address);
  }
  const Reply posted = ann.Get(ann.Address(stream, {}), {}, "POST");
  EXPECT_EQ(posted.status, 405);
  ExpectForAnyOriginOnce(posted, "the wrong verb");
}

TEST(HlsPreflight, IsAnsweredForEveryRouteWithoutASession) {
  const House house({kFilm});
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open(kFilm, "hls_remux");
  for (const std::string& route : RoutesOf(ann, stream)) {
    for (const std::string& sid : {ann.Who().sid, std::string()}) {
      const Reply reply = ann.Get(With(route, ann.Who().sid, sid),
                                  {"Origin: http://cast.example", "Access-Control-Request-Method: GET",
                                   "Access-Control-Request-Headers: range"},
                                  "OPTIONS");
      EXPECT_EQ(reply.status, 204) << route;
      EXPECT_EQ(reply.body, "") << route;
      EXPECT_EQ(reply.Header("Access-Control-Allow-Origin"), "*") << route;
      EXPECT_EQ(reply.Header("Access-Control-Allow-Methods"), "GET") << route;
      EXPECT_EQ(reply.Count("Access-Control-Allow-Headers"), 1U) << route;
      EXPECT_EQ(reply.Count("Access-Control-Allow-Credentials"), 0U) << route;
    }
  }
}
