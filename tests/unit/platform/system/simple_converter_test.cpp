#include "contract/system/simple_converter.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/unit/platform/engine/cover.h"

namespace Opencc {
namespace {

namespace fs = std::filesystem;

constexpr char kConfig[] = "/var/packages/Kinora/target/etc/opencc/data/config/s2tw_text.json";
constexpr char kProgram[] = "/var/packages/Kinora/target/libexec/kinora-hanzi";

class SimpleConverterTest : public testing::Test {
 protected:
  SimpleConverterTest() {
    std::string name = fs::temp_directory_path() / "converter-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    ::chmod(folder_.c_str(), 0755);
  }
  ~SimpleConverterTest() override { fs::remove_all(folder_); }

  fs::path folder_;
};

TEST_F(SimpleConverterTest, ConvertsWithTheInstalledConfiguration) {
  const SimpleConverter converter(kConfig);
  EXPECT_EQ(converter.Convert("软件里面\n"), "軟件裡面\n");
  EXPECT_EQ(converter.Convert("頭髮"), "頭髮");
  EXPECT_EQ(converter.Convert(""), "");
  EXPECT_EQ(converter.Convert("\n"), "\n");
}

TEST_F(SimpleConverterTest, ThrowsWithoutAConfiguration) {
  fs::create_directory(folder_ / "folder");
  for (const fs::path& config :
       {fs::path(), folder_ / "missing", folder_ / "folder", fs::path("s2tw_text.json")}) {
    EXPECT_THROW(SimpleConverter(config.native()), std::runtime_error) << config;
  }
}

TEST_F(SimpleConverterTest, ThrowsForAConfigurationThatCannotBeUsed) {
  std::ofstream(folder_ / "broken.json") << "{\"name\": ";
  const SimpleConverter converter(folder_ / "broken.json");
  EXPECT_THROW(converter.Convert("软件"), std::runtime_error);
}

TEST_F(SimpleConverterTest, ThrowsForATextThatItDoesNotTake) {
  const SimpleConverter converter(kConfig);
  for (const std::string& text :
       {std::string("软\xff"), std::string("\xe8\xbd"), std::string((32U << 20) + 1, 'x')}) {
    EXPECT_THROW(converter.Convert(text), std::runtime_error) << text.size();
  }
  EXPECT_EQ(converter.Convert("软"), "軟") << "and does the next";
}

TEST_F(SimpleConverterTest, ThrowsWhenTheProgramFails) {
  const SimpleConverter converter(kConfig);
  for (const char* body : {"echo half; kill -KILL $$", "echo half; exit 1", "exit 127"}) {
    const fs::path script = folder_ / "script";
    std::ofstream(script) << "#!/bin/sh\n" << body << "\n";
    ASSERT_EQ(::chmod(script.c_str(), 0755), 0);
    const kinora::engine::Cover cover(script, kProgram);
    if (!cover) GTEST_SKIP() << "nothing is mounted on the machine itself";
    EXPECT_THROW(converter.Convert("软"), std::runtime_error) << body;
  }
  EXPECT_EQ(converter.Convert("软"), "軟");
}

}  // namespace
}  // namespace Opencc
