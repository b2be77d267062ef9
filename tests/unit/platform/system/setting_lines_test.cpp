#include "platform/system/setting_lines.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "contract/system/hlibc.h"

namespace kinora::system {
namespace {

TEST(SettingLines, AreKeysAndValues) {
  const std::string text = "# comment\n\na=\"1\"\n  b\t= \" two \"  \r\nc=\"\"\na=\"3\"";
  const std::vector<SettingLine> lines = SettingLines(text);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0].number, 3);
  EXPECT_EQ(lines[0].name, "a");
  EXPECT_EQ(lines[0].value, "1");
  EXPECT_EQ(lines[1].name, "b");
  EXPECT_EQ(lines[1].value, " two ");
  EXPECT_EQ(lines[2].value, "");
  EXPECT_EQ(lines[3].number, 6);
  for (const SettingLine& line : lines) EXPECT_EQ(line.fault, nullptr);
}

TEST(SettingLines, SayWhatIsWrongWithThem) {
  for (const char* const text : {"a", "a=1", "a=\"1", "a=\"", "a=\"1\"2\"", "a=\"\x01\"", "\"a\""}) {
    const std::vector<SettingLine> lines = SettingLines(text);
    ASSERT_EQ(lines.size(), 1u) << text;
    EXPECT_NE(lines[0].fault, nullptr) << text;
    EXPECT_TRUE(lines[0].name.empty()) << text;
  }
}

class KeyValueTest : public testing::Test {
 protected:
  KeyValueTest() {
    std::string name = testing::TempDir() + "key-value-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    file_ = folder_ / "settings.conf";
  }
  ~KeyValueTest() override { std::filesystem::remove_all(folder_); }

  // The value, or "unset" where the buffer is as it was.
  std::string Look(const std::string& content, const char* key, int& result, int size = 32) const {
    std::ofstream(file_) << content;
    char buffer[32] = "unset";
    result = HLIBCFileGetKeyValue(file_.c_str(), key, buffer, size, 0);
    return buffer;
  }

  std::filesystem::path folder_;
  std::string file_;
};

TEST_F(KeyValueTest, IsTheLastOfTheKey) {
  int result = 0;
  EXPECT_EQ(Look("codepage=\"enu\"\nother=\"x\"\ncodepage=\"cht\"\n", "codepage", result), "cht");
  EXPECT_EQ(result, 3);
}

TEST_F(KeyValueTest, IsCutToTheBuffer) {
  int result = 0;
  EXPECT_EQ(Look("a=\"123456789\"", "a", result, 8), "1234567");
  EXPECT_EQ(result, 9);
  EXPECT_EQ(Look("a=\"123456789\"", "a", result, 1), "");
}

TEST_F(KeyValueTest, OfAnEmptySettingIsEmpty) {
  int result = -1;
  EXPECT_EQ(Look("a=\"\"", "a", result), "");
  EXPECT_EQ(result, 0);
}

TEST_F(KeyValueTest, LeavesTheBufferWhenThereIsNoSuchKey) {
  int result = -1;
  EXPECT_EQ(Look("aa=\"1\"\nb=\"a\"\na=broken\n#a=\"1\"\n", "a", result), "unset");
  EXPECT_EQ(result, 0);
  char buffer[8] = "unset";
  EXPECT_EQ(HLIBCFileGetKeyValue("/nowhere/at.all", "a", buffer, 8, 0), 0);
  EXPECT_STREQ(buffer, "unset");
}

TEST_F(KeyValueTest, IsNegativeForAFileThatCannotBeRead) {
  char buffer[8] = "unset";
  EXPECT_LT(HLIBCFileGetKeyValue("/", "a", buffer, 8, 0), 0);
  std::ofstream(file_) << std::string(100'000, '#');
  EXPECT_LT(HLIBCFileGetKeyValue(file_.c_str(), "a", buffer, 8, 0), 0);
  EXPECT_STREQ(buffer, "unset");
}

TEST_F(KeyValueTest, IsNegativeForWhatCannotBeMeant) {
  char buffer[8] = "unset";
  EXPECT_LT(HLIBCFileGetKeyValue(nullptr, "a", buffer, 8, 0), 0);
  EXPECT_LT(HLIBCFileGetKeyValue("/", nullptr, buffer, 8, 0), 0);
  EXPECT_LT(HLIBCFileGetKeyValue("/", "a", nullptr, 8, 0), 0);
  EXPECT_LT(HLIBCFileGetKeyValue("/", "a", buffer, 0, 0), 0);
  EXPECT_LT(HLIBCFileGetKeyValue("/", "a", buffer, 8, 1), 0);
}

}  // namespace
}  // namespace kinora::system
