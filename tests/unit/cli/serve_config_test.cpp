#include "cli/serve_config.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "cli/serve_child.h"

using namespace kinora::cli;
using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(FillTemplate, PutsValuesInPlace) {
  EXPECT_EQ(FillTemplate("a = \"@A@\"\nb = @B@\n", {{"A", "x y"}, {"B", "8080"}}), "a = \"x y\"\nb = 8080\n");
  EXPECT_EQ(FillTemplate("nothing @ all, mail@host, @", {}), "nothing @ all, mail@host, @");
}

TEST(FillTemplate, RefusesValuesThatEndTheirString) {
  for (const char* value : {"a\"b", "a\\b", "a\nb", "${X}"}) {
    EXPECT_THROW(FillTemplate("@A@", {{"A", value}}), std::invalid_argument) << value;
  }
}

TEST(FillTemplate, RefusesNamesWithoutAValue) {
  EXPECT_THROW(FillTemplate("@A@", {}), std::invalid_argument);
}

TEST(FillTemplate, FillsTheConfigurationThatIsInstalled) {
  std::ifstream file(KINORA_SOURCE_DIR "/packaging/lighttpd.conf");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::string filled = FillTemplate(
      text, {{"ADDRESS", "[::1]"}, {"PORT", "80"}, {"PAGE", "/page"}, {"RUN", "/run"}, {"SOCKET", "/sock"}});
  EXPECT_NE(filled.find("server.bind = \"[::1]\""), std::string::npos);
  EXPECT_NE(filled.find("server.port = 80\n"), std::string::npos);
}

TEST(InBrackets, AreForIpv6Only) {
  EXPECT_EQ(InBrackets("127.0.0.1"), "127.0.0.1");
  EXPECT_EQ(InBrackets("::1"), "[::1]");
}

TEST(AddressToVisit, IsTheLoopbackForAllAddresses) {
  EXPECT_EQ(AddressToVisit("0.0.0.0"), "127.0.0.1");
  EXPECT_EQ(AddressToVisit("::"), "::1");
  EXPECT_EQ(AddressToVisit("192.168.1.5"), "192.168.1.5");
}

TEST(DelayBeforeRestart, DoublesWhileAProgramKeepsFailing) {
  EXPECT_EQ(DelayBeforeRestart(seconds(11), 5), milliseconds(0));
  EXPECT_EQ(DelayBeforeRestart(seconds(1), 0), milliseconds(100));
  EXPECT_EQ(DelayBeforeRestart(seconds(1), 3), milliseconds(800));
  EXPECT_EQ(DelayBeforeRestart(seconds(1), 7), milliseconds(10'000));
  EXPECT_EQ(DelayBeforeRestart(seconds(1), 4'000'000'000U), milliseconds(10'000));
}
