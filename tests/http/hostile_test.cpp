// What strangers send: ids that are none, requests that are none.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/http/hls_viewer.h"

using namespace kinora::test;

namespace {

const std::string kHostile[] = {"../../etc/passwd",
                                "..",
                                ".",
                                "/etc/passwd",
                                "%2e%2e%2f",
                                "..%2f..%2fetc%2fpasswd",
                                "....//",
                                "a/../b",
                                "\\..\\..\\",
                                "1;DROP TABLE video",
                                "1' OR '1'='1",
                                "1 UNION SELECT 1",
                                "-1",
                                "0",
                                "+1",
                                "01",
                                "1e3",
                                "0x10",
                                "2147483648",
                                "9223372036854775808",
                                "99999999999999999999",
                                " 1",
                                "1 ",
                                "1\n2",
                                "1\r\nSet-Cookie: a=b",
                                "\xFF\xFE",
                                "\xE2\x80\xAE",
                                "<script>alert(1)</script>",
                                "$(id)",
                                "`id`",
                                "|id",
                                "-i",
                                "concat:a|b",
                                "%d%s%n",
                                "file:///etc/passwd",
                                "http://127.0.0.1/",
                                std::string(4000, 'A'),
                                std::string(64, 'a') + "/",
                                std::string("AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA") + "/../../RAW"};

// Answers refuse, in JSON, and tell nothing of the machine. The front itself refuses control characters in
// addresses.
void ExpectRefusal(const Reply& reply, const std::string& what) {
  EXPECT_TRUE(reply.status == 400 || reply.status == 404)
      << what << ": " << reply.status << " " << reply.body;
  if (reply.status == 404 || reply.Header("Content-Type") == "application/json; charset=utf-8") {
    EXPECT_GE(CodeOf(reply), 100) << what << ": " << reply.body;
  }
  EXPECT_EQ(reply.body.find("root:"), std::string::npos) << what;
  EXPECT_EQ(reply.Count("Set-Cookie"), 0U) << what;
}

}  // namespace

TEST(HostileValues, AreRefusedAsIds) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  for (const std::string& value : kHostile) {
    ExpectRefusal(house.Send({"Film", "picture", {{"id", value}}, "GET", ann.sid}), "picture " + value);
    ExpectRefusal(house.Send({"Stream", "open", {{"id", value}}, "POST", ann.sid, ann.token}),
                  "open " + value);
    ExpectRefusal(house.Stream(ann, value), "stream " + value);
    ExpectRefusal(house.Close(ann, value), "close " + value);
  }
  EXPECT_EQ(CodeOf(house.Send({"Session", "whoami", {}, "GET", ann.sid})), 0);
}

TEST(HostileValues, AreRefusedInEveryOtherParameter) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string film = std::to_string(house.FilmId(ann, "h264_aac.mp4"));
  const std::string stream = house.OpenStream(ann, std::stoi(film));
  for (const std::string& value : kHostile) {
    if (value == "0") continue;  // the number of a track
    for (const char* name : {"format", "audio_track", "subtitle_id", "profile", "client", "audio_format"}) {
      // Words of digits and letters are harmless: the library knows which it takes.
      if (value.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz") == std::string::npos) continue;
      const Reply reply =
          house.Send({"Stream", "open", {{"id", film}, {name, value}}, "POST", ann.sid, ann.token});
      ExpectRefusal(reply, std::string(name) + " " + value);
    }
    for (const char* name : {"fragment", "playlist", "subtitle_id", "seek"}) {
      if (value.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz") == std::string::npos) continue;
      Call call{"Stream", "stream", {{"id", stream}, {"format", "raw"}, {name, value}}, "GET", ann.sid};
      ExpectRefusal(house.Send(call), std::string(name) + " " + value);
    }
    ExpectRefusal(house.Send({"Stream", "stream", {{"id", stream}, {"format", value}}, "GET", ann.sid}),
                  "format");
    ExpectRefusal(house.Send({"Catalog", "list", {{"sort", value}}, "GET", ann.sid}), "sort " + value);
    EXPECT_LT(house.Send({"Catalog", "list", {{"search", value}}, "GET", ann.sid}).status, 500) << value;
  }
}

TEST(HostileValues, AreRefusedByStreamsInFragments) {
  const House house;
  const HlsViewer ann(house, house.SignIn("ann"));
  const HlsStream stream = ann.Open("h264_aac.mp4", "hls_remux");
  const std::filesystem::path folder = std::filesystem::canonical(stream.Folder());
  const auto files = [&] {
    return std::distance(std::filesystem::recursive_directory_iterator(folder),
                         std::filesystem::recursive_directory_iterator());
  };
  EXPECT_EQ(ann.Get(ann.Address(stream, {{"fragment", "0"}})).status, 200);
  const auto before = files();
  for (const std::string& value : kHostile) {
    if (value != "0") ExpectRefusal(ann.Get(ann.Address(stream, {{"fragment", value}})), "fragment " + value);
    ExpectRefusal(ann.Get(ann.Address(stream, {{"playlist", value}})), "playlist " + value);
    ExpectRefusal(ann.Get(ann.Address(stream, {{"id", value}})), "id " + value);
    ExpectRefusal(ann.Get(ann.Address(stream, {{"id", value}, {"fragment", "0"}})), "id " + value);
    ExpectRefusal(ann.Get(ann.Address(stream, {{"format", value}, {"fragment", "0"}})), "format " + value);
    ExpectRefusal(ann.Close({value, stream.format}), "close " + value);
  }
  EXPECT_EQ(files(), before);
  EXPECT_EQ(CountStreams(), 1U);
  EXPECT_EQ(CodeOf(ann.Close(stream)), 0);
}

TEST(UnknownIds, HaveTheirOwnCodes) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const Reply film = house.Open(ann, 424242);
  EXPECT_EQ(film.status, 404);
  EXPECT_EQ(CodeOf(film), 1101);
  EXPECT_EQ(ParseJson(film.body)["error"]["message"].asString(), "Failed to get path from video id 424242");
  EXPECT_EQ(CodeOf(house.Send({"Film", "picture", {{"id", "424242"}}, "GET", ann.sid})), 1101);
  EXPECT_EQ(CodeOf(house.Stream(ann, std::string(32, 'a'))), 128);
  EXPECT_EQ(CodeOf(house.Send({"Stream", "open", {}, "POST", ann.sid, ann.token})), 101) << "no id at all";
}

TEST(MalformedRequests, GetAnAnswerOrAnEnd) {
  const House house;
  const SignedIn ann = house.SignIn("ann");
  const std::string head = "GET /webapi/entry.cgi?api=CRVN.Kinora2.Session&version=1&method=whoami";
  const std::string rest =
      " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\nCookie: kinora_session=" + ann.sid + "\r\n\r\n";
  EXPECT_EQ(house.Raw(head + rest).status, 200);
  EXPECT_EQ(CodeOf(house.Raw(head + "&method=whoami" + rest)), 130) << "given twice";
  EXPECT_EQ(house.Raw(head + "&a=%00" + rest).status, 400);
  // The front mends a lone percent sign on its way: what comes through must not be taken for an escape.
  EXPECT_EQ(house.Raw(head + "&a=%zz" + rest).status, 200);
  EXPECT_EQ(house.Raw(head + "&a=" + std::string(9000, 'a') + rest).status, 400);
  EXPECT_GE(house.Raw(head + "&a=" + std::string(100'000, 'a') + rest).status, 400);
  std::string many;
  for (int i = 0; i < 100; ++i) many += "&p" + std::to_string(i) + "=1";
  EXPECT_EQ(CodeOf(house.Raw(head + many + rest)), 130);
  EXPECT_EQ(house.Raw("GARBAGE\r\n\r\n").status, 400);
  EXPECT_EQ(house.Raw("GET / HTTP/1.1\r\n\r\n").status, 400) << "no Host";
  EXPECT_EQ(
      house.Raw(std::string("GET /webapi/entry.cgi") + '\0' + " HTTP/1.1\r\nHost: localhost\r\n\r\n").status,
      400);
}

TEST(MalformedRequests, AreRefusedByTheirBody) {
  const House house;
  const std::string head = "POST /webapi/entry.cgi HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
  const std::string form = "Content-Type: application/x-www-form-urlencoded\r\n";
  EXPECT_EQ(CodeOf(house.Raw(head + "Content-Type: application/json\r\nContent-Length: 2\r\n\r\n{}")), 130);
  EXPECT_EQ(CodeOf(house.Raw(head + "Content-Length: 3\r\n\r\na=1")), 130);
  EXPECT_EQ(CodeOf(house.Raw(head + form + "Content-Length: 66000\r\n\r\n" + std::string(66'000, 'a'))), 130);
  EXPECT_EQ(house.Raw(head + form + "Content-Length: 300000\r\n\r\n" + std::string(300'000, 'a')).status,
            413);
  EXPECT_EQ(house.Raw(head + form + "Content-Length: -1\r\n\r\n").status, 400);
  EXPECT_EQ(house.Raw(head + form + "Content-Length: 3\r\nContent-Length: 4\r\n\r\na=1").status, 400);
  EXPECT_EQ(CodeOf(house.Raw(head + form + "Transfer-Encoding: chunked\r\n\r\n3\r\na=1\r\n0\r\n\r\n")), 121);
  // JSON in depth goes nowhere near a parser.
  const std::string deep(5000, '[');
  EXPECT_EQ(CodeOf(house.Raw(head + form + "Content-Length: 5000\r\n\r\n" + deep)), 130);
}

TEST(PathsBehindTheProgram, ReachIt) {
  const House house;
  for (const char* path : {"/webapi/entry.cgi/hls/sid/id/Manifest", "/webapi/entry.cgi/x",
                           "/webapi/entry.cgi/%2e%2e/x", "/webapi/entry.cgix"}) {
    const Reply reply = Fetch(house.Port(), "GET", path, {});
    EXPECT_EQ(reply.status, 404) << path;
  }
  EXPECT_EQ(CodeOf(Fetch(house.Port(), "GET", "/webapi/entry.cgi/x", {})), 128);
  EXPECT_EQ(CodeOf(Fetch(house.Port(), "GET", "/webapi/entry.cgi/ss/sid/id/Manifest", {})), 124);
}
