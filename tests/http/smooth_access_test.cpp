// Who gets a stream's manifest and chunks, by path and by query, and what the others are told. A chunk that
// lies on the disk already is no exception.
#include <gtest/gtest.h>

#include "tests/http/hls_expectations.h"
#include "tests/http/smooth_viewer.h"

using namespace kinora::test;

namespace {

constexpr char kFilm[] = "mpeg2_mp2.mpg";

// The parts of a stream by their addresses below that of the manifest: it, and the first chunk of each track.
std::vector<std::string> PartsOf(const SmoothViewer& viewer, const ViewedStream& stream) {
  std::vector<std::string> parts = {"Manifest"};
  for (const SmoothTrack& track : viewer.Tracks(stream)) parts.push_back(track.ChunkAt(track.starts.at(0)));
  return parts;
}

// The same as a query; without a session where `sid` is empty.
std::string QueryOf(const Viewer& viewer, const ViewedStream& stream, const std::string& part,
                    const std::string& sid) {
  return viewer.Address(stream, {{"fragment", part == "Manifest" ? "" : part}, {"_sid", sid}});
}

}  // namespace

TEST(SmoothAccess, IsTheOpenersWhileHisSessionLasts) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const SignedIn again = house.SignIn("ann");
  const SignedIn bob = house.SignIn("bob");
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const std::vector<std::string> parts = PartsOf(ann, stream);
  EXPECT_EQ(parts.size(), 3U) << "a manifest, a picture and a sound";
  const std::string& sid = ann.Who().sid;
  const auto path = [&](const std::string& session, const std::string& part) {
    return SmoothViewer::PathOf(session, stream, part);
  };
  const std::vector<std::string> cookie = {"Cookie: kinora_session=" + sid};
  const std::vector<std::string> bobs_cookie = {"Cookie: kinora_session=" + bob.sid};
  for (const std::string& part : parts) {
    EXPECT_EQ(ann.Get(path(sid, part)).status, 200) << part;
    EXPECT_EQ(ann.Get(path(again.sid, part)).status, 200) << "the account counts, not the session";
    EXPECT_EQ(ann.Get(path("-", part), cookie).status, 200) << part;
    EXPECT_EQ(ann.Get(QueryOf(ann, stream, part, sid)).status, 200) << part;
    EXPECT_EQ(ann.Get(QueryOf(ann, stream, part, ""), cookie).status, 200) << part;
    EXPECT_EQ(ann.Get(path(sid, part), bobs_cookie).status, 200) << "the path comes before the cookie";

    ExpectRefused(ann.Get(path("-", part)), 401, 124, "no session: ");
    ExpectRefused(ann.Get(path("-", part) + "?_sid=" + sid), 401, 124, "a query beside the path: ");
    ExpectRefused(ann.Get(path(std::string(43, 'A'), part)), 401, 124, "a made up session: ");
    ExpectRefused(ann.Get(path(std::string(43, 'A'), part), cookie), 401, 124,
                  "a made up one and a cookie: ");
    ExpectRefused(ann.Get(path(bob.sid, part)), 404, 128, "somebody else: ");
    ExpectRefused(ann.Get(path("-", part), bobs_cookie), 404, 128, "somebody else's cookie: ");
    ExpectRefused(ann.Get(QueryOf(ann, stream, part, "")), 401, 124, "no session: ");
    ExpectRefused(ann.Get(QueryOf(ann, stream, part, bob.sid)), 404, 128, "somebody else: ");
    EXPECT_EQ(ann.Get(path("-", part), {}, "HEAD").status, 401) << part;
    EXPECT_EQ(ann.Get(path("-", part), {"Range: bytes=0-9"}).status, 401) << part;
  }

  ASSERT_EQ(CodeOf(house.Send({"Session", "sign_out", {}, "POST", sid, ann.Who().token})), 0);
  for (const std::string& part : parts) {
    ExpectRefused(ann.Get(path(sid, part)), 401, 124, "a revoked session: ");
    ExpectRefused(ann.Get(path("-", part), cookie), 401, 124, "a revoked session: ");
    EXPECT_EQ(ann.Get(path(again.sid, part)).status, 200) << "another one of the same account";
  }
  ExpireAllSessions();
  for (const std::string& part : parts)
    ExpectRefused(ann.Get(path(again.sid, part)), 401, 124, "an expired session: ");

  for (const std::string& session : {sid, again.sid, bob.sid}) {
    EXPECT_EQ(house.Log().find(session), std::string::npos) << "no session's id is in any log";
  }
}

TEST(SmoothAccess, IsTheOpenersOnlyForClosingToo) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const SmoothViewer bob(house, house.SignIn("bob"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  EXPECT_EQ(CodeOf(bob.Close(stream)), 128);
  EXPECT_EQ(CodeOf(ann.Close({stream.id, "hls"})), 128) << "a stream of another type";
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 128);
}

TEST(SmoothErrors, MayBeReadFromAnyOrigin) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const std::vector<SmoothTrack> tracks = ann.Tracks(stream);
  ASSERT_FALSE(tracks.empty());
  struct Case {
    std::string fragment;
    int status;
    int code;
  };
  std::vector<Case> cases = {
      {"QualityLevels(1500001)/Fragments(video=0)", 404, 128},
      {"QualityLevels(0)/Fragments(video=0)", 404, 128},
      {"QualityLevels(1500000)/Fragments(film=0)", 404, 128},
      {"QualityLevels(1500000)/Fragments(audio_77=0)", 404, 128},
      {"0", 404, 128},
      {"a1_0", 404, 128},
      {"work", 404, 128},
      {"QualityLevels(x)/Fragments(video=0)", 400, 101},
      {"QualityLevels(-1500000)/Fragments(video=0)", 400, 101},
      {"QualityLevels(1500000)/Fragments(video=-1)", 400, 101},
      {"QualityLevels(1500000)/Fragments(video=0x0)", 400, 101},
      {"QualityLevels(1500000)/Fragments(video=)", 400, 101},
      {"QualityLevels(1500000)/Fragments(video=99999999999999999999)", 400, 101},
      {"QualityLevels(1500000)/Fragments(video=0", 400, 101},
      {"QualityLevels(1500000)", 400, 101},
      {"Manifest.xml", 400, 101},
  };
  for (const SmoothTrack& track : tracks) {
    cases.push_back({track.ChunkAt(track.starts.at(0) + 1), 404, 128});
    cases.push_back({track.ChunkAt(track.end), 404, 128});
    cases.push_back({track.ChunkAt(track.end + 10'000'000), 404, 128});
  }
  for (const Case& c : cases) {
    const std::string query = ann.Address(stream, {{"fragment", c.fragment}});
    ExpectRefused(ann.Get(ann.Path(stream, c.fragment), {"Origin: http://cast.example"}), c.status, c.code,
                  c.fragment);
    ExpectRefused(ann.Get(query, {"Origin: http://cast.example"}), c.status, c.code, query);
  }
  const ViewedStream nobodys = {std::string(32, 'a'), "ss"};
  ExpectRefused(ann.Get(ann.Path(nobodys, "Manifest")), 404, 128, "no such stream");
  ExpectRefused(ann.Get(ann.Path({"short", "ss"}, "Manifest")), 404, 128, "no stream's id");
  ExpectRefused(ann.Get(ann.Address({stream.id, "hls"}, {})), 404, 128, "a stream of another type");
  ExpectRefused(ann.Get(ann.Address(stream, {{"fragment", "../owner"}})), 400, 101, "a path");
  const Reply posted = ann.Get(ann.Path(stream, "Manifest"), {}, "POST");
  EXPECT_EQ(posted.status, 405);
  ExpectForAnyOriginOnce(posted, "the wrong verb");
}

// What the web server and the program make of paths that are none of a stream.
TEST(SmoothPath, LeadsNowhereElse) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  const std::string start = "/webapi/entry.cgi/ss/" + ann.Who().sid + "/" + stream.id;
  for (const std::string& path :
       {start, start + "/", start + "/../" + stream.id, start + "/../../../../../../etc/passwd",
        start + "/%2e%2e/owner", start + "/..%2fowner", start + "/..%2Fwork%2Fplan.json", start + "/./owner",
        start + "/Manifest/", start + "/manifest", start + "/Manifest%00",
        start + "/Manifest%0d%0aX-Evil:%201", start + "/QualityLevels(1500000)/../Fragments(video=0)",
        start + "/QualityLevels(1500000)%2fFragments(video=0)%00", start + "/%2528",
        std::string("/webapi/entry.cgi/ss/"), std::string("/webapi/entry.cgi/ss/-/-/Manifest"),
        std::string("/webapi/entry.cgi/hls/-/") + stream.id + "/Manifest",
        "/webapi/entry.cgi/ss/" + std::string(20'000, 'a') + "/" + stream.id + "/Manifest"}) {
    const Reply reply = ann.Get(path);
    EXPECT_GE(reply.status, 400) << path << reply.body.substr(0, 200);
    EXPECT_LT(reply.status, 500) << path << reply.body.substr(0, 200);
    EXPECT_EQ(reply.Count("X-Evil"), 0U);
    EXPECT_EQ(reply.body.find(std::to_string(ann.Who().account) + "\n"), std::string::npos);
  }
  for (const char* part : {"/x/../Manifest", "/./Manifest", "//Manifest"}) {
    EXPECT_EQ(ann.Get(start + part).status, 200) << "which the web server reads as the manifest's: " << part;
  }
  EXPECT_EQ(house.Log().find(ann.Who().sid), std::string::npos) << "no session's id is in any log";
}

TEST(SmoothPreflight, IsAnsweredForEveryRouteWithoutASession) {
  const House house({kFilm});
  const SmoothViewer ann(house, house.SignIn("ann"));
  const ViewedStream stream = ann.Open(kFilm, "ss");
  for (const std::string& part : PartsOf(ann, stream)) {
    for (const std::string& route :
         {ann.Path(stream, part), SmoothViewer::PathOf("-", stream, part), QueryOf(ann, stream, part, "")}) {
      const Reply reply = ann.Get(route,
                                  {"Origin: http://cast.example", "Access-Control-Request-Method: GET",
                                   "Access-Control-Request-Headers: range"},
                                  "OPTIONS");
      EXPECT_EQ(reply.status, 204) << route;
      EXPECT_EQ(reply.body, "") << route;
      EXPECT_EQ(reply.Header("Allow"), "GET, HEAD, OPTIONS") << route;
      EXPECT_EQ(reply.Header("Access-Control-Allow-Origin"), "*") << route;
      EXPECT_EQ(reply.Header("Access-Control-Allow-Methods"), "GET") << route;
      EXPECT_EQ(reply.Count("Access-Control-Allow-Headers"), 1U) << route;
      EXPECT_EQ(reply.Count("Access-Control-Allow-Credentials"), 0U) << route;
    }
  }
}
