#include "platform/system/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

namespace kinora::system {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::ElementsAreArray;

class SettingsTest : public testing::Test {
 protected:
  SettingsTest() {
    std::string name = testing::TempDir() + "settings-XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~SettingsTest() override { fs::remove_all(folder_); }

  Settings Load(const std::string& text) const {
    std::ofstream(folder_ / "kinora.conf", std::ios::binary) << text;
    return LoadSettings(folder_ / "kinora.conf");
  }

  fs::path folder_;
};

TEST_F(SettingsTest, AreTheDefaultsWhenThereIsNoFile) {
  EXPECT_EQ(LoadSettings(folder_ / "missing"), Settings());
}

TEST_F(SettingsTest, AreTheDefaultsWhenTheFileIsNoPlainFile) {
  EXPECT_EQ(LoadSettings(folder_), Settings());
  ASSERT_EQ(::mkfifo((folder_ / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(LoadSettings(folder_ / "fifo"), Settings());
}

TEST_F(SettingsTest, AreTheDefaultsWhenTheFileIsTooLong) {
  EXPECT_EQ(Load("port=\"1\"\n#" + std::string(70'000, 'x')), Settings());
}

TEST_F(SettingsTest, TakesEveryKey) {
  const Settings settings = Load(
      "account=\"kinora\"\naddress=\"::1\"\nport=\"0\"\nhosts=\"nas.lan, films.example.org\"\n"
      "volumes=\"/volume1/:/volume 2\"\nfree_space_floor=\"2G\"\nsession_days=\"7\"\n"
      "transcoding=\"no\"\nhardware=\"yes\"\njobs=\"3\"\nrun_ahead_seconds=\"30\"\nidle_seconds=\"5\"\n"
      "stream_quota=\"10M\"\nstreams_quota=\"1T\"\n");
  EXPECT_EQ(settings.account, "kinora");
  EXPECT_EQ(settings.address, "::1");
  EXPECT_EQ(settings.port, 0U);
  EXPECT_THAT(settings.hosts, ElementsAre("nas.lan", "films.example.org"));
  EXPECT_THAT(settings.volumes, ElementsAre("/volume1", "/volume 2"));
  EXPECT_EQ(settings.free_space_floor, 2ULL << 30);
  EXPECT_EQ(settings.session_days, 7U);
  EXPECT_FALSE(settings.transcoding);
  EXPECT_TRUE(settings.hardware);
  EXPECT_EQ(settings.jobs, 3U);
  EXPECT_EQ(settings.run_ahead_seconds, 30U);
  EXPECT_EQ(settings.idle_seconds, 5U);
  EXPECT_EQ(settings.stream_quota, 10ULL << 20);
  EXPECT_EQ(settings.streams_quota, 1ULL << 40);
}

struct PortCase {
  std::string name;
  std::string text;
  unsigned int port;
};

class SettingsLine : public SettingsTest, public testing::WithParamInterface<PortCase> {};

TEST_P(SettingsLine, CountsOrLeavesTheDefault) { EXPECT_EQ(Load(GetParam().text).port, GetParam().port); }

INSTANTIATE_TEST_SUITE_P(
    Cases, SettingsLine,
    testing::Values(
        PortCase{"Plain", "port=\"81\"\n", 81}, PortCase{"NoLineEnd", "port=\"81\"", 81},
        PortCase{"Blanks", "  port =\t\"81\"  \n", 81}, PortCase{"CarriageReturn", "port=\"81\"\r\n", 81},
        PortCase{"TheLastCounts", "port=\"81\"\nport=\"82\"\n", 82},
        PortCase{"AfterABadLine", "what?\nport=\"81\"\n", 81}, PortCase{"Comment", "#port=\"81\"\n", 8080},
        PortCase{"NoQuotes", "port=81\n", 8080}, PortCase{"OneQuote", "port=\"\n", 8080},
        PortCase{"Empty", "port=\"\"\n", 8080}, PortCase{"QuoteInside", "port=\"8\"1\"\n", 8080},
        PortCase{"Negative", "port=\"-1\"\n", 8080}, PortCase{"TooLarge", "port=\"65536\"\n", 8080},
        PortCase{"Overflow", "port=\"18446744073709551617\"\n", 8080},
        PortCase{"Words", "port=\"80 81\"\n", 8080}, PortCase{"OtherCase", "Port=\"81\"\n", 8080},
        PortCase{"NulByte", std::string("port=\"8\0\"\n", 10), 8080}),
    [](const auto& parameter) { return parameter.param.name; });

class SettingsBadValue : public SettingsTest, public testing::WithParamInterface<std::string> {};

TEST_P(SettingsBadValue, LeavesTheDefault) { EXPECT_EQ(Load(GetParam() + "\n"), Settings()); }

INSTANTIATE_TEST_SUITE_P(Cases, SettingsBadValue,
                         testing::Values("account=\"a/b\"", "account=\"-x\"", "account=\"a b\"",
                                         "address=\"localhost\"", "address=\"\"", "address=\"1.2.3\"",
                                         "hosts=\"a b\"", "hosts=\"a/b\"", "hosts=\".lan\"",
                                         "volumes=\"relative\"", "volumes=\"/a:b\"", "free_space_floor=\"\"",
                                         "free_space_floor=\"M\"", "free_space_floor=\"1X\"",
                                         "free_space_floor=\"18446744073709551615T\"", "session_days=\"0\"",
                                         "session_days=\"3651\"", "jobs=\"0\"", "jobs=\"65\"",
                                         "run_ahead_seconds=\"9\"", "idle_seconds=\"0\"", "transcoding=\"\"",
                                         "hardware=\"YES\"", "stream_quota=\"-1\"", "unknown=\"1\""));

// Every key stands in the file that is installed, once, commented out, with the built-in default.
TEST_F(SettingsTest, TellTheirFaults) {
  const std::string path = folder_ / "kinora.conf";
  std::ofstream(path) << "# a remark\nport=\"1\"\nport=\"x\"\nprot=\"1\"\nport\n";
  EXPECT_THAT(FaultsOfSettings(path),
              ElementsAre("line 3 of " + path + " has a value out of its range: its default stands",
                          "line 4 of " + path + " names no setting: its default stands",
                          "line 5 of " + path + " is not of the form key=\"value\": its default stands"));
  EXPECT_THAT(FaultsOfSettings(folder_ / "missing"), ElementsAre());
  EXPECT_THAT(FaultsOfSettings(folder_),
              ElementsAre("cannot read the settings in " + folder_.string() + ": no plain file"));
}

TEST_F(SettingsTest, AreDocumentedWithTheirDefaultsInTheInstalledFile) {
  std::ifstream file(std::string(KINORA_SOURCE_DIR) + "/packaging/kinora.conf");
  ASSERT_TRUE(file);
  std::vector<std::string> names;
  for (std::string line; std::getline(file, line);) {
    const size_t sign = line.find("=\"");
    if (line.empty() || line.starts_with("# ")) continue;
    ASSERT_EQ(line.front(), '#') << line;
    ASSERT_NE(sign, std::string::npos) << line;
    names.push_back(line.substr(1, sign - 1));
    // Another value first, so that a documented value that does not parse cannot pass for the default.
    static const std::map<std::string, std::string> kOthers = {{"address", "::1"},
                                                               {"volumes", "/x"},
                                                               {"transcoding", "no"},
                                                               {"hardware", "yes"},
                                                               {"run_ahead_seconds", "70"}};
    const auto known = kOthers.find(names.back());
    const std::string other = names.back() + "=\"" + (known == kOthers.end() ? "7" : known->second) + "\"";
    ASSERT_NE(Load(other), Settings()) << other;
    EXPECT_EQ(Load(other + "\n" + line.substr(1) + "\n"), Settings()) << line;
  }
  std::sort(names.begin(), names.end());
  EXPECT_THAT(names, ElementsAreArray(SettingNames()));
}

}  // namespace
}  // namespace kinora::system
