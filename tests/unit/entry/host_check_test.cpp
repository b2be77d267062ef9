#include "entry/host_check.h"

#include <gtest/gtest.h>

using kinora::entry::IsOwnHost;
using kinora::entry::IsOwnOrigin;

namespace {
const std::vector<std::string> kNames = {"films.example"};
}

TEST(IsOwnHost, TakesAddressesLocalhostAndConfiguredNames) {
  for (const char* host :
       {"127.0.0.1", "127.0.0.1:8080", "192.168.1.20:8080", "[::1]", "[::1]:8080", "[fe80::1]", "localhost",
        "LocalHost:8080", "localhost.", "films.example", "FILMS.example:80"}) {
    EXPECT_TRUE(IsOwnHost(host, kNames)) << host;
  }
}

TEST(IsOwnHost, RefusesOtherNames) {
  for (const char* host :
       {"", "evil.example", "films.example.evil.example", "127.0.0.1.evil.example", "localhost.evil",
        "xlocalhost", "films.example:port", "films.example:80:80", "127.0.0.1:123456", "[::1", "[::1]x",
        "[evil]", "::1", "127.1", "0x7f.0.0.1", "127.0.0.1 evil", "user@localhost"}) {
    EXPECT_FALSE(IsOwnHost(host, kNames)) << host;
  }
  EXPECT_FALSE(IsOwnHost(std::string("localhost\0.evil", 15), kNames));
  EXPECT_FALSE(IsOwnHost(std::string(1000, 'a'), kNames));
}

TEST(IsOwnOrigin, TakesOwnHostsOfWebSchemesOnly) {
  EXPECT_TRUE(IsOwnOrigin("http://127.0.0.1:8080", kNames));
  EXPECT_TRUE(IsOwnOrigin("https://films.example", kNames));
  EXPECT_FALSE(IsOwnOrigin("http://evil.example", kNames));
  EXPECT_FALSE(IsOwnOrigin("null", kNames));
  EXPECT_FALSE(IsOwnOrigin("file://localhost", kNames));
  EXPECT_FALSE(IsOwnOrigin("", kNames));
}
