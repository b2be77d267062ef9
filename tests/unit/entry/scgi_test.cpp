#include "entry/scgi.h"

#include <gtest/gtest.h>

using kinora::entry::kLargestScgiHeader;
using kinora::entry::kShortestScgiHeader;
using kinora::entry::Malformed;
using kinora::entry::ScgiHeaderReader;
using kinora::entry::Variables;
using namespace std::string_literals;

namespace {

std::string Netstring(const std::string& content) {
  return std::to_string(content.size()) + ":" + content + ",";
}

const std::string kContent =
    "CONTENT_LENGTH\0"s + "27\0"s + "SCGI\0"s + "1\0"s + "REQUEST_METHOD\0"s + "POST\0"s;

Variables ReadInSteps(const std::string& bytes, size_t step) {
  ScgiHeaderReader reader;
  size_t at = 0;
  while (const size_t wanted = reader.Wanted()) {
    const size_t take = std::min({step, wanted, bytes.size() - at});
    if (take == 0) break;
    reader.Feed(std::string_view(bytes).substr(at, take));
    at += take;
  }
  EXPECT_LE(at, bytes.size());
  return reader.Parse();
}

std::string Refusal(const std::string& bytes) {
  try {
    ReadInSteps(bytes, 1000);
  } catch (const Malformed& error) {
    return error.what();
  }
  return "accepted";
}

}  // namespace

TEST(ScgiHeaderReader, ReadsHeaderInStepsOfAnySize) {
  const Variables expected = {{"CONTENT_LENGTH", "27"}, {"SCGI", "1"}, {"REQUEST_METHOD", "POST"}};
  for (const size_t step : {1U, 2U, 3U, 7U, 1000U}) {
    EXPECT_EQ(ReadInSteps(Netstring(kContent) + "the body is not for the reader", step), expected) << step;
  }
}

TEST(ScgiHeaderReader, NeverWantsAByteOfTheBody) {
  const std::string header = Netstring(kContent);
  ScgiHeaderReader reader;
  size_t read = 0;
  while (const size_t wanted = reader.Wanted()) {
    ASSERT_LE(read + wanted, header.size());
    reader.Feed(std::string_view(header).substr(read, wanted));
    read += wanted;
  }
  EXPECT_EQ(read, header.size());
}

TEST(ScgiHeaderReader, TakesTwoStepsWhereTheBytesAreThere) {
  const std::string shortest = Netstring("CONTENT_LENGTH\0"s + "0\0"s + "SCGI\0"s + "1\0"s);
  EXPECT_EQ(shortest.size(), kShortestScgiHeader);
  ScgiHeaderReader reader;
  EXPECT_EQ(reader.Wanted(), shortest.size());
  reader.Feed(shortest);
  EXPECT_EQ(reader.Wanted(), 0U);

  const std::string usual = Netstring(kContent);
  ScgiHeaderReader second;
  second.Feed(usual.substr(0, kShortestScgiHeader));
  EXPECT_EQ(second.Wanted(), usual.size() - kShortestScgiHeader);
}

TEST(ScgiHeaderReader, RefusesWhatIsNoHeader) {
  EXPECT_EQ(Refusal("GET / HTTP/1.1\r\n"), "not an SCGI request");
  EXPECT_EQ(Refusal("-1:"), "not an SCGI request");
  EXPECT_EQ(Refusal(" 5:"), "not an SCGI request");
  EXPECT_EQ(Refusal(":,"), "bad SCGI length");
  EXPECT_EQ(Refusal("007:"), "bad SCGI length");
  EXPECT_EQ(Refusal("9999999:"), "SCGI header too large");
  EXPECT_EQ(Refusal(std::to_string(kLargestScgiHeader + 1) + ":"), "SCGI header too large");
  EXPECT_EQ(Refusal("18446744073709551617:"), "SCGI header too large");
  EXPECT_EQ(Refusal(std::to_string(kContent.size()) + ":" + kContent + ";"),
            "SCGI header does not end in a comma");
}

TEST(ScgiHeaderReader, RefusesHeaderThatIsNoListOfPairs) {
  EXPECT_EQ(Refusal(Netstring("")), "not an SCGI request");
  EXPECT_EQ(Refusal(Netstring("SCGI")), "SCGI header does not end in NUL");
  EXPECT_EQ(Refusal(Netstring("SCGI\0"s)), "SCGI header does not end in NUL");
  EXPECT_EQ(Refusal(Netstring(kContent + "\0"s + "value\0"s)), "SCGI variable without a name");
  EXPECT_EQ(Refusal(Netstring(kContent + "SCGI\0"s + "1\0"s)), "SCGI variable given twice");
  EXPECT_EQ(Refusal(Netstring("SCGI\0"s + "2\0"s + "CONTENT_LENGTH\0"s + "0\0"s)), "not an SCGI request");
  EXPECT_EQ(Refusal(Netstring("SCGI\0"s + "1\0"s)), "SCGI request without CONTENT_LENGTH");
}

TEST(ScgiHeaderReader, RefusesHeaderCutOffAtEveryByte) {
  const std::string header = Netstring(kContent);
  for (size_t length = 0; length < header.size(); ++length) {
    EXPECT_EQ(Refusal(header.substr(0, length)), "SCGI header incomplete") << length;
  }
}
