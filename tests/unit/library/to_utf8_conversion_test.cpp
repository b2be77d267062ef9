// The real converter, as the library runs it.
#include <enca.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "library/to_utf8.h"
#include "tests/fakes/stream_test.h"

namespace crvnkn::webapi {
namespace {

class ConversionTest : public kinora::fakes::StreamTest {
 protected:
  ConversionTest() {
    std::string name = "/tmp/conversion-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    ::chmod(folder_.c_str(), 0777);  // the converter runs under the service's account
  }
  ~ConversionTest() override { std::filesystem::remove_all(folder_); }

  std::string Convert(const std::string& bytes, const std::string& charset) const {
    const std::string source = folder_ / "source.srt";
    const std::string output = folder_ / "output.srt";
    std::ofstream(source, std::ios::binary) << bytes;
    ::chmod(source.c_str(), 0644);
    std::filesystem::remove(output);
    if (!ToUTF8(source, charset, output)) return "failed";
    std::ifstream file(output);
    if (!file) return "no output";
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }

  std::filesystem::path folder_;
};

const std::string kTimes = "1\r\n00:00:01,000 --> 00:00:02,000\r\n";
const std::string kPlainTimes = "1\n00:00:01,000 --> 00:00:02,000\n";

TEST_F(ConversionTest, GivesUtf8) {
  EXPECT_EQ(Convert(kTimes + "\xc3\xe4\xe5 \xee\xed?\r\n", "CP1251"), kPlainTimes + "Где он?\n");
}

TEST_F(ConversionTest, TakesTheMachinesCodePageForWhatCannotBeTold) {
  EXPECT_EQ(Convert(kTimes + "se\xf1or\r\n", "auto"), kPlainTimes + "señor\n");
}

TEST_F(ConversionTest, LosesNoCueForABadByte) {
  EXPECT_EQ(Convert(kTimes + "a\x81\r\n\r\n" + kTimes + "b\r\n", "CP932"),
            kPlainTimes + "a\n\n" + kPlainTimes + "b\n");
}

// But for UTF-7, in which markup can be hidden.
TEST_F(ConversionTest, TakesEveryCharsetThatCanBeDetected) {
  for (size_t i = 0; i < enca_number_of_charsets(); ++i) {
    const char* const name = enca_charset_name(static_cast<int>(i), ENCA_NAME_STYLE_ICONV);
    if (name == nullptr) continue;
    EXPECT_EQ(Convert("", name), name == std::string("UTF-7") ? "no output" : "") << name;
  }
}

TEST_F(ConversionTest, FromAnUnknownCharsetLeavesNothing) {
  EXPECT_EQ(Convert(kTimes, "NOPE"), "no output");
  EXPECT_EQ(Convert(kTimes, "CP1252//TRANSLIT"), "no output");
}

}  // namespace
}  // namespace crvnkn::webapi
