// Files sent by a CGI program behind the real web server, asked for over a raw socket.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <thread>

#include "platform/base/text.h"
#include "tests/http/lighttpd_fixture.h"

namespace kinora::test {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::Eq;
using testing::HasSubstr;
using testing::Not;

constexpr uint64_t kSize = 1'000'003;
constexpr uint64_t kLargeSize = (5ULL << 30) + 7;
constexpr int64_t kModified = 1'000'000'000;
constexpr char kDate[] = "Sun, 09 Sep 2001 01:46:40 GMT";
constexpr char kBefore[] = "Sun, 09 Sep 2001 01:46:39 GMT";
constexpr char kAfter[] = "Sun, 09 Sep 2001 01:46:41 GMT";

// The byte at a place of the film.
char ByteAt(uint64_t place) { return static_cast<char>((place * 2654435761U) >> 13); }

std::string Bytes(uint64_t first, uint64_t length) {
  std::string bytes(length, '\0');
  for (uint64_t i = 0; i < length; ++i) bytes[i] = ByteAt(first + i);
  return bytes;
}

// One server for all tests of the program.
class RangeTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    // Ranges are the program's matter: of an answer that is complete before its first byte is sent on, the
    // web server would make one itself, by rules of its own.
    server_ = std::make_unique<Lighttpd>(
        "server.modules = ( \"mod_cgi\" )\nserver.stream-response-body = 2\n"
        "server.range-requests = \"disable\"\ncgi.assign = ( \".cgi\" => \"\" )\n");
    fs::create_symlink(KINORA_OUTPUT_FILE_CGI, server_->DocumentRoot() / "output.cgi");
    Write("film.mp4", Bytes(0, kSize));
    Write("empty.mp4", "");
    Write("large.mkv", "");
    ASSERT_EQ(::truncate((server_->Folder() / "large.mkv").c_str(), kLargeSize), 0);
    std::fstream large(server_->Folder() / "large.mkv", std::ios::in | std::ios::out | std::ios::binary);
    large.seekp(4'294'967'290);
    large << "0123456789AB";
    large.seekp(kLargeSize - 3);
    large << "end";
    large.close();
    Age("large.mkv");
  }
  static void TearDownTestSuite() { server_.reset(); }

  static void Write(const std::string& name, const std::string& content) {
    std::ofstream(server_->Folder() / name, std::ios::binary) << content;
    Age(name);
  }
  static void Age(const std::string& name) {
    const timespec times[2] = {{kModified, 0}, {kModified, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (server_->Folder() / name).c_str(), times, 0), 0);
  }
  static std::string Target(const std::string& name) {
    return "/output.cgi?" + base::ToHex((server_->Folder() / name).string());
  }
  static Reply Get(const std::string& name, const std::vector<std::string>& headers = {}) {
    return Fetch(server_->Port(), "GET", Target(name), headers);
  }
  static std::string Etag() { return Get("film.mp4", {"Range: bytes=0-0"}).Header("ETag").value_or(""); }

  static uint64_t SpoolSize() {
    uint64_t size = 0;
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator(server_->TemporaryFolder())) {
      const uint64_t one = entry.file_size(gone);
      if (!gone) size += one;
    }
    return size;
  }

  // What every answer for a file has.
  static void ExpectCommonHeaders(const Reply& reply) {
    EXPECT_EQ(reply.Header("Accept-Ranges"), "bytes");
    EXPECT_EQ(reply.Header("X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(reply.Header("Last-Modified"), kDate);
    EXPECT_EQ(reply.Count("ETag"), 1U);
  }

  static std::unique_ptr<Lighttpd> server_;
};

std::unique_ptr<Lighttpd> RangeTest::server_;

struct Piece {
  uint64_t first;
  uint64_t length;
};

struct RangeCase {
  std::string name;
  std::vector<std::string> headers;  // "ETAG" stands for the film's tag
  int status;
  std::vector<Piece> pieces;  // of the film, that come
};

class FilmTest : public RangeTest, public testing::WithParamInterface<RangeCase> {
 protected:
  static std::string ContentRange(const Piece& piece) {
    return "bytes " + std::to_string(piece.first) + "-" + std::to_string(piece.first + piece.length - 1) +
           "/" + std::to_string(kSize);
  }

  // The exact body of an answer with several parts, given the boundary that the server has chosen.
  static std::string Multipart(const std::vector<Piece>& pieces, const std::string& boundary) {
    std::string body;
    for (const Piece& piece : pieces) {
      body += (body.empty() ? "--" : "\r\n--") + boundary +
              "\r\nContent-Type: video/mp4\r\nContent-Range: " + ContentRange(piece) + "\r\n\r\n" +
              Bytes(piece.first, piece.length);
    }
    return body + "\r\n--" + boundary + "--\r\n";
  }

  static void ExpectPieces(const Reply& reply, const std::vector<Piece>& pieces) {
    std::string expected = Bytes(pieces[0].first, pieces[0].length);
    if (pieces.size() == 1) {
      EXPECT_EQ(reply.Header("Content-Type"), "video/mp4");
      const auto range = reply.status == 206 ? std::optional(ContentRange(pieces[0])) : std::nullopt;
      EXPECT_EQ(reply.Header("Content-Range"), range);
    } else {
      const std::string type = reply.Header("Content-Type").value_or("");
      std::smatch match;
      ASSERT_TRUE(std::regex_match(type, match, std::regex("multipart/byteranges; boundary=([0-9a-f]{32})")))
          << type;
      EXPECT_EQ(reply.Count("Content-Range"), 0U);
      expected = Multipart(pieces, match[1]);
    }
    EXPECT_EQ(reply.Header("Content-Length"), std::to_string(expected.size()));
    EXPECT_TRUE(reply.body == expected) << reply.body.size() << " bytes";
  }
};

TEST_P(FilmTest, IsAnsweredWithExactlyTheBytesAskedFor) {
  std::vector<std::string> headers = GetParam().headers;
  for (std::string& header : headers) {
    const size_t place = header.find("ETAG");
    if (place != std::string::npos) header.replace(place, 4, Etag());
  }
  const Reply reply = Get("film.mp4", headers);
  ASSERT_EQ(reply.status, GetParam().status);
  ExpectCommonHeaders(reply);
  if (!GetParam().pieces.empty()) return ExpectPieces(reply, GetParam().pieces);
  EXPECT_EQ(reply.body, "");
  if (reply.status == 416) {
    EXPECT_EQ(reply.Header("Content-Range"), "bytes */" + std::to_string(kSize));
  } else {
    EXPECT_EQ(reply.Count("Content-Range"), 0U);
  }
}

const Piece kAll{0, kSize};

RangeCase Ranges(const std::string& name, const std::string& value, int status, std::vector<Piece> pieces) {
  return {name, {"Range: " + value}, status, std::move(pieces)};
}
RangeCase Ignored(const std::string& name, const std::string& value) {
  return Ranges(name, value, 200, {kAll});
}
RangeCase Refused(const std::string& name, const std::string& value) { return Ranges(name, value, 416, {}); }

std::string Name(const testing::TestParamInfo<RangeCase>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(OneRange, FilmTest,
                         testing::Values(RangeCase{"None", {}, 200, {kAll}},
                                         Ranges("FirstByte", "bytes=0-0", 206, {{0, 1}}),
                                         Ranges("SecondByte", "bytes=1-1", 206, {{1, 1}}),
                                         Ranges("LastByte", "bytes=1000002-1000002", 206, {{1'000'002, 1}}),
                                         Ranges("Inner", "bytes=65530-65541", 206, {{65'530, 12}}),
                                         Ranges("OpenEnd", "bytes=999990-", 206, {{999'990, 13}}),
                                         Ranges("FromTheStart", "bytes=0-", 206, {kAll}),
                                         Ranges("AllButTheFirst", "bytes=1-", 206, {{1, kSize - 1}}),
                                         Ranges("EndBeyond", "bytes=999990-2000000", 206, {{999'990, 13}}),
                                         Ranges("Suffix", "bytes=-500", 206, {{kSize - 500, 500}}),
                                         Ranges("SuffixOfOne", "bytes=-1", 206, {{kSize - 1, 1}}),
                                         Ranges("SuffixOfAll", "bytes=-1000003", 206, {kAll}),
                                         Ranges("SuffixBeyond", "bytes=-1000004", 206, {kAll}),
                                         Ranges("UnitInCapitals", "Bytes=3-4", 206, {{3, 2}}),
                                         Ranges("BlanksAround", "bytes= 3-4 ", 206, {{3, 2}}),
                                         Ranges("LeadingZeros", "bytes=0003-0004", 206, {{3, 2}})),
                         Name);

INSTANTIATE_TEST_SUITE_P(
    SeveralRanges, FilmTest,
    testing::Values(Ranges("Two", "bytes=0-9,100-109", 206, {{0, 10}, {100, 10}}),
                    Ranges("Three", "bytes=0-0,500000-500099,-7", 206,
                           {{0, 1}, {500'000, 100}, {kSize - 7, 7}}),
                    Ranges("InTheOrderAskedFor", "bytes=-5,0-4", 206, {{kSize - 5, 5}, {0, 5}}),
                    Ranges("BlanksAndEmptyElements", "bytes=0-1 , ,\t9-10,", 206, {{0, 2}, {9, 2}}),
                    Ranges("Overlapping", "bytes=0-99,50-149", 206, {{0, 150}}),
                    Ranges("Touching", "bytes=0-99,100-199", 206, {{0, 200}}),
                    Ranges("OneByteApart", "bytes=0-99,101-199", 206, {{0, 100}, {101, 99}}),
                    Ranges("Twice", "bytes=5-6,5-6", 206, {{5, 2}}),
                    Ranges("OneInAnother", "bytes=0-,7-8", 206, {kAll}),
                    Ranges("OneBeyond", "bytes=0-1,2000000-", 206, {{0, 2}}),
                    Ranges("AllBeyond", "bytes=2000000-,3000000-3000001", 416, {})),
    Name);

INSTANTIATE_TEST_SUITE_P(
    Unsatisfiable, FilmTest,
    testing::Values(Refused("AtTheEnd", "bytes=1000003-"), Refused("Beyond", "bytes=1000004-1000005"),
                    Refused("EmptySuffix", "bytes=-0"), Refused("Max63", "bytes=9223372036854775807-"),
                    Refused("Over63", "bytes=9223372036854775808-"),
                    Refused("BelowMax63", "bytes=9223372036854775806-9223372036854775807"),
                    Refused("Max64", "bytes=18446744073709551615-"),
                    Refused("Over64", "bytes=18446744073709551616-18446744073709551617")),
    Name);

INSTANTIATE_TEST_SUITE_P(
    LargeNumbers, FilmTest,
    testing::Values(Ranges("EndMax63", "bytes=1000000-9223372036854775807", 206, {{1'000'000, 3}}),
                    Ranges("EndOver63", "bytes=1000000-9223372036854775808", 206, {{1'000'000, 3}}),
                    Ranges("EndOver64", "bytes=1000000-18446744073709551616", 206, {{1'000'000, 3}}),
                    Ranges("SuffixOver63", "bytes=-9223372036854775809", 206, {kAll}),
                    Ranges("SuffixOver64", "bytes=-340282366920938463463374607431768211456", 206, {kAll})),
    Name);

INSTANTIATE_TEST_SUITE_P(Malformed, FilmTest,
                         testing::Values(Ignored("Backwards", "bytes=5-1"),
                                         Ignored("OneBackwards", "bytes=0-1,5-1"),
                                         Ignored("OtherUnit", "items=0-1"), Ignored("NoUnit", "0-1"),
                                         Ignored("NoSign", "bytes 0-1"), Ignored("NoRange", "bytes="),
                                         Ignored("OnlyComma", "bytes=,"), Ignored("NoDash", "bytes=5"),
                                         Ignored("OnlyDash", "bytes=-"), Ignored("Negative", "bytes=--5"),
                                         Ignored("Letters", "bytes=a-z"),
                                         Ignored("Hexadecimal", "bytes=0x0-0x5"),
                                         Ignored("Plus", "bytes=+0-5"), Ignored("BlankInside", "bytes=0 - 5"),
                                         Ignored("Fraction", "bytes=0.5-5"), Ignored("Star", "bytes=*")),
                         Name);

RangeCase With(const std::string& name, std::vector<std::string> headers, int status,
               std::vector<Piece> pieces) {
  headers.emplace_back("Range: bytes=10-19");
  return {name, std::move(headers), status, std::move(pieces)};
}
const Piece kPart{10, 10};
const std::string kD(kDate);

INSTANTIATE_TEST_SUITE_P(
    IfRange, FilmTest,
    testing::Values(With("Tag", {"If-Range: ETAG"}, 206, {kPart}),
                    With("OtherTag", {"If-Range: \"other\""}, 200, {kAll}),
                    With("WeakTag", {"If-Range: W/ETAG"}, 200, {kAll}),
                    With("Date", {"If-Range: " + kD}, 206, {kPart}),
                    With("DateInTheOldForm", {"If-Range: Sunday, 09-Sep-01 01:46:40 GMT"}, 206, {kPart}),
                    With("DateInTheOldestForm", {"If-Range: Sun Sep  9 01:46:40 2001"}, 206, {kPart}),
                    With("EarlierDate", {std::string("If-Range: ") + kBefore}, 200, {kAll}),
                    With("LaterDate", {std::string("If-Range: ") + kAfter}, 200, {kAll}),
                    With("Nonsense", {"If-Range: nonsense"}, 200, {kAll}),
                    RangeCase{"WithoutRange", {"If-Range: ETAG"}, 200, {kAll}}),
    Name);

INSTANTIATE_TEST_SUITE_P(
    Conditions, FilmTest,
    testing::Values(
        With("NoneMatchEqual", {"If-None-Match: ETAG"}, 304, {}),
        With("NoneMatchWeak", {"If-None-Match: W/ETAG"}, 304, {}),
        With("NoneMatchList", {"If-None-Match: \"a\", \"b,c\", ETAG"}, 304, {}),
        With("NoneMatchAny", {"If-None-Match: *"}, 304, {}),
        With("NoneMatchOther", {"If-None-Match: \"other\""}, 206, {kPart}),
        With("ModifiedSinceEqual", {"If-Modified-Since: " + kD}, 304, {}),
        With("ModifiedSinceEarlier", {std::string("If-Modified-Since: ") + kBefore}, 206, {kPart}),
        With("NoneMatchBeforeModifiedSince", {"If-None-Match: \"other\"", "If-Modified-Since: " + kD}, 206,
             {kPart}),
        With("MatchEqual", {"If-Match: ETAG"}, 206, {kPart}), With("MatchAny", {"If-Match: *"}, 206, {kPart}),
        With("MatchOther", {"If-Match: \"other\""}, 412, {}),
        With("MatchWeak", {"If-Match: W/ETAG"}, 412, {}),
        With("UnmodifiedSinceEqual", {"If-Unmodified-Since: " + kD}, 206, {kPart}),
        With("UnmodifiedSinceEarlier", {std::string("If-Unmodified-Since: ") + kBefore}, 412, {}),
        With("FailedBeforeUnsatisfiable", {"If-Match: \"other\"", "Range: bytes=2000000-"}, 412, {})),
    Name);

TEST_F(RangeTest, ServesTheWholeFileWhenTenThousandRangesAreAsked) {
  std::string value = "bytes=";
  for (int i = 0; i < 10'000; ++i) value += std::to_string(i * 10) + "-,";
  // The web server may refuse a header of this length by itself; what reaches us is answered whole.
  const Reply large = Get("film.mp4", {"Range: " + value});
  EXPECT_THAT(large.status, AnyOf(Eq(200), Eq(400), Eq(413), Eq(431)));
  value.resize(value.rfind(',', 6'000));
  const Reply reply = Get("film.mp4", {"Range: " + value});
  EXPECT_EQ(reply.status, 200);
  EXPECT_TRUE(reply.body == Bytes(0, kSize));
}

TEST_F(RangeTest, ServesAHundredRangesExactly) {
  std::string value = "bytes=";
  uint64_t bytes = 0;
  for (uint64_t i = 0; i < 100; ++i, bytes += 10) {
    value += std::to_string(i * 1000) + "-" + std::to_string(i * 1000 + 9) + ",";
  }
  const Reply reply = Get("film.mp4", {"Range: " + value});
  EXPECT_EQ(reply.status, 206);
  EXPECT_EQ(reply.Header("Content-Length"), std::to_string(reply.body.size()));
  EXPECT_GT(reply.body.size(), bytes);
}

TEST_F(RangeTest, HasTheHeadersOfTheWholeFileAndNoBodyForHead) {
  const Reply head = Fetch(server_->Port(), "HEAD", Target("film.mp4"), {"Range: bytes=0-1"});
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.Header("Content-Length"), std::to_string(kSize));
  EXPECT_EQ(head.Header("Content-Type"), "video/mp4");
  EXPECT_EQ(head.Header("ETag"), Etag());
  EXPECT_EQ(head.Count("Content-Range"), 0U);
  EXPECT_EQ(head.body, "");
  ExpectCommonHeaders(head);
  EXPECT_EQ(Fetch(server_->Port(), "HEAD", Target("film.mp4"), {"If-None-Match: *"}).status, 304);
}

TEST_F(RangeTest, IgnoresRangesAndConditionsOfPost) {
  const Reply reply =
      Fetch(server_->Port(), "POST", Target("film.mp4"), {"Range: bytes=0-1", "If-None-Match: *"});
  EXPECT_EQ(reply.status, 200);
  EXPECT_TRUE(reply.body == Bytes(0, kSize));
}

TEST_F(RangeTest, AnswersAnEmptyFile) {
  const Reply whole = Get("empty.mp4");
  EXPECT_EQ(whole.status, 200);
  EXPECT_EQ(whole.Header("Content-Length"), "0");
  const Reply range = Get("empty.mp4", {"Range: bytes=0-"});
  EXPECT_EQ(range.status, 416);
  EXPECT_EQ(range.Header("Content-Range"), "bytes */0");
  EXPECT_EQ(Get("empty.mp4", {"Range: bytes=-5"}).status, 200);
}

TEST_F(RangeTest, ReachesBehindFourGigabytes) {
  const Reply inner = Get("large.mkv", {"Range: bytes=4294967290-4294967301"});
  EXPECT_EQ(inner.status, 206);
  EXPECT_EQ(inner.body, "0123456789AB");
  EXPECT_EQ(inner.Header("Content-Range"), "bytes 4294967290-4294967301/5368709127");
  EXPECT_EQ(Get("large.mkv", {"Range: bytes=5368709124-"}).body, "end");
  EXPECT_EQ(Get("large.mkv", {"Range: bytes=-3"}).body, "end");
  const Reply head = Fetch(server_->Port(), "HEAD", Target("large.mkv"), {});
  EXPECT_EQ(head.Header("Content-Length"), "5368709127");
  const Reply two = Get("large.mkv", {"Range: bytes=4294967296-4294967297,-3"});
  EXPECT_THAT(two.body, HasSubstr("Content-Range: bytes 4294967296-4294967297/5368709127\r\n\r\n67\r\n--"));
  EXPECT_THAT(two.body, HasSubstr("Content-Range: bytes 5368709124-5368709126/5368709127\r\n\r\nend\r\n--"));
}

TEST_F(RangeTest, CarriesNothingOfTheNameIntoTheHeaders) {
  const std::string name = "x\r\nSet-Cookie: a=b\r\n\r\n<script>.mp4";
  Write("plain", "content");
  fs::create_directory(server_->Folder() / "odd");
  std::error_code error;
  fs::rename(server_->Folder() / "plain", server_->Folder() / "x\r\nSet-Cookie: a=b\r\n\r\n<script>.mp4",
             error);
  ASSERT_FALSE(error);
  const Reply reply = Get(name);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "content");
  EXPECT_EQ(reply.Count("Set-Cookie"), 0U);
  for (const auto& [key, value] : reply.headers) EXPECT_THAT(value, Not(HasSubstr("script"))) << key;
}

TEST_F(RangeTest, HasOneAcceptRangesLineWhoeverWritesIt) {
  const Reply reply = Fetch(server_->Port(), "GET",
                            "/output.cgi?whole:" + base::ToHex((server_->Folder() / "film.mp4").string()),
                            {"Range: bytes=3-4"});
  EXPECT_EQ(reply.status, 206);
  EXPECT_EQ(reply.body, Bytes(3, 2));
  ExpectCommonHeaders(reply);
}

TEST_F(RangeTest, LeavesTheHeadersToTheCallerWhenThereIsNoFile) {
  const Reply reply = Get("missing.mp4", {"Range: bytes=0-1"});
  EXPECT_EQ(reply.status, 404);
  EXPECT_EQ(reply.body, "");
  EXPECT_EQ(reply.Count("ETag"), 0U);
}

TEST_F(RangeTest, GivesAWeakTagToAFileThatMayStillChange) {
  Write("fresh.mp4", "content");
  const timespec now[2] = {{0, UTIME_NOW}, {0, UTIME_NOW}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (server_->Folder() / "fresh.mp4").c_str(), now, 0), 0);
  const Reply fresh = Get("fresh.mp4");
  const std::string tag = fresh.Header("ETag").value_or("");
  EXPECT_TRUE(tag.starts_with("W/\"")) << tag;
  EXPECT_EQ(Get("fresh.mp4", {"Range: bytes=0-1", "If-Range: " + tag}).status, 200);
}

TEST_F(RangeTest, ChangesTheTagWithTheContent) {
  Write("changing.mp4", "one");
  const std::string before = Get("changing.mp4").Header("ETag").value_or("");
  Write("changing.mp4", "three");
  const std::string after = Get("changing.mp4").Header("ETag").value_or("");
  EXPECT_NE(before, after);
  EXPECT_EQ(Get("changing.mp4", {"Range: bytes=0-1", "If-Range: " + before}).body, "three");
}

// A file that shrinks while it is sent: less comes than was promised, and nothing that could pass for it.
TEST_F(RangeTest, BreaksOffWhenTheFileBecomesShorter) {
  Write("shrinking.mp4", "");
  const fs::path path = server_->Folder() / "shrinking.mp4";
  ASSERT_EQ(::truncate(path.c_str(), 200 << 20), 0);
  Connection connection(server_->Port());
  connection.Send("GET " + Target("shrinking.mp4") + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
  const std::string start = connection.ReadAtLeast(1);
  ASSERT_EQ(::truncate(path.c_str(), 10), 0);
  const std::string rest = connection.ReadAtLeast(std::string::npos);
  EXPECT_THAT(start.substr(0, 500), HasSubstr("Content-Length: 209715200\r\n"));
  EXPECT_LT(start.size() + rest.size(), 200U << 20);
  EXPECT_TRUE(rest.find("Status:") == std::string::npos);
}

// The web server puts some tens of kilobytes of an answer aside now and then, but never the answer: the
// program waits for the client.
TEST_F(RangeTest, LeavesNoProcessAndNoSpoolFileWhenClientsVanish) {
  for (int i = 0; i < 20; ++i) {
    Connection connection(server_->Port());
    connection.Send("GET " + Target("large.mkv") + " HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_GE(connection.ReadAtLeast(100'000).size(), 100'000U);
    EXPECT_LT(SpoolSize(), 256U << 10);
    connection.Abort();
  }
  for (int i = 0; i < 3000 && !server_->Children().empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(server_->Children().empty());
  EXPECT_EQ(SpoolSize(), 0U);
}

TEST_F(RangeTest, KeepsTheConnectionForTheNextRequest) {
  Connection connection(server_->Port());
  const std::string request = "GET " + Target("film.mp4") + " HTTP/1.1\r\nHost: x\r\nRange: bytes=";
  connection.Send(request + "0-4\r\n\r\n" + request + "5-9\r\nConnection: close\r\n\r\n");
  const std::string both = connection.ReadAtLeast(std::string::npos);
  EXPECT_THAT(both, HasSubstr("\r\n\r\n" + Bytes(0, 5) + "HTTP/1.1 206"));
  EXPECT_TRUE(both.ends_with("\r\n\r\n" + Bytes(5, 5)));
}

}  // namespace
}  // namespace kinora::test
