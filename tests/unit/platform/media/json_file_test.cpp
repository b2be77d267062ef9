#include "contract/media/json_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace LibKinora {
namespace {

class JsonFileTest : public testing::Test {
 protected:
  JsonFileTest() {
    std::string name = testing::TempDir() + "json-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    file_ = folder_ / "a.json";
  }
  ~JsonFileTest() override { fs::remove_all(folder_); }

  // What stands in the file; null when that is no JSON.
  Json::Value Read() const {
    std::ifstream in(file_, std::ios::binary);
    Json::Value value;
    std::string problem;
    return Json::parseFromStream(Json::CharReaderBuilder(), in, &value, &problem) ? value : Json::Value();
  }
  long EntryCount() const { return std::distance(fs::directory_iterator(folder_), fs::directory_iterator()); }

  static Json::Value Record(const std::string& text, int64_t number) {
    Json::Value value;
    value["text"] = text;
    value["number"] = Json::Int64(number);
    return value;
  }

  fs::path folder_;
  fs::path file_;
};

TEST_F(JsonFileTest, GivesBackWhatWasWritten) {
  const Json::Value record = Record("caf\u00e9 \"\\\n\x01", 5'000'000'000);
  EXPECT_TRUE(WriteJsonToFile(file_, record));
  EXPECT_EQ(Read(), record);
  struct stat info {};
  ASSERT_EQ(::stat(file_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600U);
}

TEST_F(JsonFileTest, ReplacesALongerFileWholly) {
  EXPECT_TRUE(WriteJsonToFile(file_, Record(std::string(10'000, 'x'), 1)));
  EXPECT_TRUE(WriteJsonToFile(file_, Record("short", 2)));
  EXPECT_EQ(Read(), Record("short", 2));
  EXPECT_EQ(EntryCount(), 1);
}

TEST_F(JsonFileTest, WritesJsonOutOfBytesThatAreNoText) {
  EXPECT_TRUE(WriteJsonToFile(file_, Record("caf\xE9", 1)));
  EXPECT_EQ(Read(), Record("caf\uFFFD", 1));
}

TEST_F(JsonFileTest, FailsAndLeavesNothingWhereItCannotWrite) {
  EXPECT_FALSE(WriteJsonToFile(folder_ / "missing" / "a.json", Record("", 1)));
  fs::create_directories(file_ / "in the way");
  EXPECT_FALSE(WriteJsonToFile(file_, Record("", 1)));
  EXPECT_TRUE(fs::is_directory(file_ / "in the way"));
  EXPECT_EQ(EntryCount(), 1);
}

TEST_F(JsonFileTest, RefusesAPathThatDependsOnWhereTheProcessStands) {
  EXPECT_FALSE(WriteJsonToFile("", Record("", 1)));
  EXPECT_FALSE(WriteJsonToFile("relative.json", Record("", 1)));
  EXPECT_FALSE(fs::exists("relative.json"));
}

class ReadJsonTest : public JsonFileTest {
 protected:
  void Put(const std::string& text) const { std::ofstream(file_, std::ios::binary) << text; }
  // What is read; "untouched" when that fails.
  Json::Value ReadBack() const {
    Json::Value value = "untouched";
    const bool read = ReadJsonFromFile(file_, value);
    EXPECT_EQ(read, value != "untouched");
    return value;
  }
};

TEST_F(ReadJsonTest, GivesBackWhatWasWritten) {
  const Json::Value record = Record("caf\u00e9 \"\\\n\x01", 5'000'000'000);
  ASSERT_TRUE(WriteJsonToFile(file_, record));
  EXPECT_EQ(ReadBack(), record);
}

TEST_F(ReadJsonTest, TakesAnArray) {
  Put("[1, 2]");
  EXPECT_EQ(ReadBack().size(), 2U);
}

TEST_F(ReadJsonTest, FailsWithoutAFile) { EXPECT_EQ(ReadBack(), "untouched"); }

TEST_F(ReadJsonTest, FailsForAllThatIsNotOneDocument) {
  for (const char* const text : {"", " ", "{", "{\"a\": 1", "{\"a\": 1,}", "{} {}", "{}x", "// c\n{}", "'a'",
                                 "{\"a\": 1, \"a\": 2}", "5", "\"text\"", "nul", "{\"a\": NaN}"}) {
    Put(text);
    EXPECT_EQ(ReadBack(), "untouched") << text;
  }
  Put(std::string(1, '\0'));
  EXPECT_EQ(ReadBack(), "untouched");
}

TEST_F(ReadJsonTest, FailsForWhatIsNestedTooDeeply) {
  Put(std::string(60, '[') + std::string(60, ']'));
  EXPECT_TRUE(ReadBack().isArray());
  for (const size_t depth : {100U, 100'000U}) {
    Put(std::string(depth, '[') + std::string(depth, ']'));
    EXPECT_EQ(ReadBack(), "untouched") << depth;
  }
}

TEST_F(ReadJsonTest, FailsForWhatIsTooLarge) {
  Put("[\"" + std::string((1 << 20) - 4, 'x') + "\"]");
  EXPECT_TRUE(ReadBack().isArray());
  Put("[\"" + std::string((1 << 20) - 3, 'x') + "\"]");
  EXPECT_EQ(ReadBack(), "untouched");
}

TEST_F(ReadJsonTest, FailsForWhatIsNoPlainFile) {
  fs::create_directory(file_);
  EXPECT_EQ(ReadBack(), "untouched");
  fs::remove(file_);
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(ReadBack(), "untouched");
}

TEST_F(ReadJsonTest, RefusesAPathThatDependsOnWhereTheProcessStands) {
  Json::Value value = "untouched";
  EXPECT_FALSE(ReadJsonFromFile("", value));
  EXPECT_FALSE(ReadJsonFromFile("relative.json", value));
  EXPECT_EQ(value, "untouched");
}

}  // namespace
}  // namespace LibKinora
