#include <gtest/gtest.h>

#include <vector>

#include "helpers/hanzi/convert.h"
#include "tests/unit/helpers/helper_process.h"

namespace kinora::helper {
namespace {

const std::string kConfig = std::string(KINORA_SOURCE_DIR) + "/packaging/s2tw_text.json";
const std::string kProgram = std::string(KINORA_BUILD_DIR) + "/helpers/kinora-hanzi";

// What the converter was given, each part in brackets.
std::string Parts(std::string_view text) {
  return ConvertInParts(text, [](const std::string& part) { return "[" + part + "]"; });
}

TEST(ConvertInParts, GivesWholeLinesAndNeverAZeroByte) {
  EXPECT_EQ(Parts(""), "");
  EXPECT_EQ(Parts("a\nb\r\n\nc"), "[a\nb\r\n\nc]");
  EXPECT_EQ(Parts(std::string("\0a\0\0b\n\0", 7)), std::string("\0[a]\0\0[b\n]\0", 11));
}

TEST(ConvertInParts, DividesALongTextAtLineEnds) {
  const std::string line(999, 'x');
  std::string text;
  for (int i = 0; i < 200; ++i) text += line + "\n";
  std::vector<size_t> sizes;
  const auto note = [&sizes](const std::string& part) {
    sizes.push_back(part.size());
    return part;
  };
  EXPECT_EQ(ConvertInParts(text, note), text);
  EXPECT_EQ(sizes, (std::vector<size_t>{66'000, 66'000, 66'000, 2'000}));
  sizes.clear();
  const std::string one_line(200'000, 'x');
  EXPECT_EQ(ConvertInParts(one_line, note), one_line);
  EXPECT_EQ(sizes, std::vector<size_t>{200'000});
}

class HanziTest : public testing::Test {
 protected:
  Ended Convert(const std::string& text, const std::string& config = kConfig) const {
    WriteWhole(folder_.File("text"), text);
    return RunOn(folder_.File("text"), {kProgram, config});
  }
  void ExpectConverted(const std::string& text, const std::string& expected) const {
    const Ended ended = Convert(text);
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(ended.output, expected);
  }

  ScratchFolder folder_;
};

TEST_F(HanziTest, WritesTheTraditionalScriptOfTaiwan) {
  ExpectConverted("软件 里面 头发 发展 台湾 皇后 后面 干杯 为什么",
                  "軟件 裡面 頭髮 發展 臺灣 皇后 後面 乾杯 為什麼");
}

TEST_F(HanziTest, LeavesAllElseAsItIs) {
  const std::string cue = "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\r\n<i>Žluťoučký</i> 😀 ";
  ExpectConverted(cue + "里面\n", cue + "裡面\n");
  ExpectConverted("", "");
  ExpectConverted(std::string("软\0软", 7), std::string("軟\0軟", 7));
}

TEST_F(HanziTest, TakesALongTextInAShortTime) {
  std::string text;
  std::string expected;
  while (text.size() < 300'000) {
    text += "我们在软件里面发现了很多问题\n";
    expected += "我們在軟件裡面發現了很多問題\n";
  }
  ExpectConverted(text, expected);
}

TEST_F(HanziTest, RefusesWhatIsNotUtf8) {
  for (const std::string& text : {std::string("\xff"), std::string("软\xe8\xbd"), std::string("\xed\xa0\x80"),
                                  std::string("\xc0\x80"), std::string("\x80\x80\x80\x80")}) {
    const Ended ended = Convert(text);
    EXPECT_EQ(ended.status, 65);
    EXPECT_EQ(ended.output, "");
    EXPECT_EQ(ended.errors, "the text cannot be read, is too long or no UTF-8\n");
  }
  EXPECT_EQ(RunProgram({kProgram, kConfig}).status, 65) << "without a text";
  EXPECT_EQ(Convert(std::string((32U << 20) + 1, 'x')).status, 65) << "too long";
}

TEST_F(HanziTest, SaysThatAConfigurationCannotBeUsed) {
  EXPECT_EQ(Convert("x", folder_.File("missing")).status, 78);
  EXPECT_EQ(Convert("x", "/etc").status, 78);
  const std::string dictionary = R"({"type": "ocd2", "file": "/etc/hostname"})";
  for (const std::string& content :
       {std::string(), std::string("{"), std::string("{}"), std::string("[]"), std::string(100'000, '['),
        std::string(R"({"segmentation": 7, "conversion_chain": 3})"),
        R"({"segmentation": {"type": "mmseg", "dict": )" + dictionary + R"(}, "conversion_chain": []})"}) {
    WriteWhole(folder_.File("config"), content);
    const Ended ended = Convert("x", folder_.File("config"));
    EXPECT_EQ(ended.status, 78) << content.substr(0, 100);
    EXPECT_EQ(ended.output, "");
    EXPECT_TRUE(ended.errors.starts_with("the configuration cannot be used: ")) << ended.errors;
  }
}

TEST_F(HanziTest, SaysHowItIsUsed) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {kProgram}, {kProgram, "s2tw.json"}, {kProgram, ""}, {kProgram, kConfig, kConfig}}) {
    const Ended ended = RunProgram(arguments);
    EXPECT_EQ(ended.status, 64);
    EXPECT_EQ(ended.errors, "usage: kinora-hanzi CONFIG 3<TEXT >CONVERTED\n");
  }
}

}  // namespace
}  // namespace kinora::helper
