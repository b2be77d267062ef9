#include "platform/system/file_answer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kinora::system {
namespace {

using testing::HasSubstr;

const FileFacts kFile{10, {"\"a\"", 784'111'777}, "video/mp4"};
constexpr char kValidators[] =
    "ETag: \"a\"\r\nLast-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\nX-Content-Type-Options: nosniff\r\n\r\n";

FileAnswer Answer(const FileRequest& request, const FileFacts& file = kFile) {
  return DecideFileAnswer(request, file, 1'800'000'000, "BOUND");
}

FileRequest Get(const char* range) { return {.method = "GET", .range = range, .conditions = {}}; }

// What the client reads, with the bytes of the file "0123456789".
std::string Body(const FileAnswer& answer) {
  std::string body;
  for (const BodyPart& part : answer.parts) {
    body += part.heading + std::string("0123456789").substr(part.range.first, part.range.length);
  }
  return body + answer.closing;
}

TEST(FileAnswer, IsTheWholeFileWithoutRange) {
  const FileAnswer answer = Answer({});
  EXPECT_EQ(answer.headers,
            std::string("Status: 200 OK\r\nContent-Type: video/mp4\r\nContent-Length: 10\r\n") + kValidators);
  EXPECT_EQ(Body(answer), "0123456789");
}

TEST(FileAnswer, IsOnePartForOneRange) {
  const FileAnswer answer = Answer(Get("bytes=3-5"));
  EXPECT_EQ(answer.headers, std::string("Status: 206 Partial Content\r\nContent-Type: video/mp4\r\n"
                                        "Content-Length: 3\r\nContent-Range: bytes 3-5/10\r\n") +
                                kValidators);
  EXPECT_EQ(Body(answer), "345");
}

TEST(FileAnswer, IsMultipartForSeveralRanges) {
  const FileAnswer answer = Answer(Get("bytes=0-1,8-"));
  const std::string body =
      "--BOUND\r\nContent-Type: video/mp4\r\nContent-Range: bytes 0-1/10\r\n\r\n01"
      "\r\n--BOUND\r\nContent-Type: video/mp4\r\nContent-Range: bytes 8-9/10\r\n\r\n89\r\n--BOUND--\r\n";
  EXPECT_EQ(Body(answer), body);
  EXPECT_EQ(answer.headers,
            "Status: 206 Partial Content\r\nContent-Type: multipart/byteranges; "
            "boundary=BOUND\r\nContent-Length: " +
                std::to_string(body.size()) + "\r\n" + kValidators);
}

TEST(FileAnswer, SaysHowLongTheFileIsWhenNoRangeTouchesIt) {
  const FileAnswer answer = Answer(Get("bytes=10-"));
  EXPECT_EQ(answer.headers, std::string("Status: 416 Range Not Satisfiable\r\nContent-Length: 0\r\n"
                                        "Content-Range: bytes */10\r\n") +
                                kValidators);
  EXPECT_EQ(Body(answer), "");
}

TEST(FileAnswer, HasNoBodyWhenNothingChangedOrAPreconditionFails) {
  FileRequest request = Get("bytes=0-1");
  request.conditions.if_none_match = "\"a\"";
  EXPECT_EQ(Answer(request).headers, std::string("Status: 304 Not Modified\r\n") + kValidators);
  EXPECT_EQ(Body(Answer(request)), "");
  request = Get("bytes=0-1");
  request.conditions.if_match = "\"b\"";
  EXPECT_EQ(Answer(request).headers,
            std::string("Status: 412 Precondition Failed\r\nContent-Length: 0\r\n") + kValidators);
}

TEST(FileAnswer, HasTheHeadersOfTheWholeFileForHead) {
  FileRequest request = Get("bytes=0-1");
  request.method = "HEAD";
  EXPECT_EQ(Answer(request).headers, Answer({}).headers);
  EXPECT_EQ(Body(Answer(request)), "");
}

TEST(FileAnswer, IsTheWholeFileForOtherMethodsAndWhenIfRangeFails) {
  FileRequest request = Get("bytes=0-1");
  request.method = "POST";
  request.conditions.if_none_match = "*";
  EXPECT_EQ(Body(Answer(request)), "0123456789");
  request = Get("bytes=0-1");
  request.conditions.if_range = "\"b\"";
  EXPECT_EQ(Body(Answer(request)), "0123456789");
}

TEST(FileAnswer, LetsNoValueBreakOutOfItsLine) {
  FileFacts file = kFile;
  file.type = "video/mp4\r\nSet-Cookie: x=y\n\r\n\x01<script>";
  for (const char* range : {"bytes=0-1", "bytes=0-1,4-5", "x"}) {
    const FileAnswer answer = Answer(Get(range), file);
    const std::string all = answer.headers + answer.parts[0].heading;
    EXPECT_THAT(all, HasSubstr("Content-Type: video/mp4Set-Cookie: x=y<script>\r\n"));
  }
}

TEST(MakeEtag, IsStrongAfterASecondAndWeakBefore) {
  constexpr int64_t kSecond = 1'000'000'000;
  EXPECT_EQ(MakeEtag(10, 255, 16, 16 + kSecond), "\"a-ff-10\"");
  EXPECT_EQ(MakeEtag(10, 255, 16, 15 + kSecond), "W/\"a-ff-10\"");
  EXPECT_EQ(MakeEtag(10, 255, 16 + kSecond, 0), "W/\"a-ff-3b9aca10\"");  // changed in the future
}

}  // namespace
}  // namespace kinora::system
