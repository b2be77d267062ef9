#include "entry/stream_path.h"

#include <gtest/gtest.h>

using namespace kinora::entry;

namespace {

Form Parameters(Form more) {
  more.merge(Form{{"api", "CRVN.Kinora2.Stream"}, {"method", "stream"}, {"version", "1"}, {"format", "ss"}});
  return more;
}

}  // namespace

TEST(ParametersOfPath, AreThoseOfTheManifest) {
  EXPECT_EQ(ParametersOfPath("/ss/sid-_1/stream/Manifest"),
            Parameters({{"_sid", "sid-_1"}, {"id", "stream"}}));
}

TEST(ParametersOfPath, AreThoseOfAChunk) {
  EXPECT_EQ(
      ParametersOfPath("/ss/sid/stream/QualityLevels(1500000)/Fragments(video=0)"),
      Parameters(
          {{"_sid", "sid"}, {"id", "stream"}, {"fragment", "QualityLevels(1500000)/Fragments(video=0)"}}));
}

TEST(ParametersOfPath, NameNoSessionWhereTheCookieTells) {
  EXPECT_EQ(ParametersOfPath("/ss/-/stream/Manifest"), Parameters({{"id", "stream"}}));
  EXPECT_EQ(ParametersOfPath("/ss/--/stream/Manifest"), Parameters({{"_sid", "--"}, {"id", "stream"}}));
}

// Whoever takes the parameters looks at their forms.
TEST(ParametersOfPath, AreWhatStandsThere) {
  const char* const kFragments[] = {
      "manifest", "../Manifest", "Manifest/", "%51ualityLevels(1)", "12", "/", "QualityLevels(1)/../x",
      "a?b",      "\xFF\n"};
  for (const char* fragment : kFragments) {
    EXPECT_EQ(ParametersOfPath(std::string("/ss/sid/stream/") + fragment),
              Parameters({{"_sid", "sid"}, {"id", "stream"}, {"fragment", fragment}}))
        << fragment;
  }
  EXPECT_EQ(ParametersOfPath("/ss/../../Manifest"), Parameters({{"_sid", ".."}, {"id", ".."}}));
}

TEST(ParametersOfPath, AreNoneOfAnyOtherPath) {
  for (const char* path :
       {"", "/", "/ss", "/ss/", "/ss/sid", "/ss/sid/", "/ss/sid/stream", "/ss/sid/stream/",
        "/ss//stream/Manifest", "/ss/sid//Manifest", "ss/sid/stream/Manifest", "/SS/sid/stream/Manifest",
        "/sss/sid/stream/Manifest", "//ss/sid/stream/Manifest", "/hls/sid/stream/Manifest"}) {
    EXPECT_EQ(ParametersOfPath(path), std::nullopt) << path;
  }
}

TEST(ParametersOfPath, AreRefusedWhenTheyAreTooLong) {
  const std::string longest(kLongestValue, 'a');
  EXPECT_EQ(ParametersOfPath("/ss/" + longest + "/stream/Manifest")->at("_sid"), longest);
  EXPECT_EQ(ParametersOfPath("/ss/sid/stream/" + longest)->at("fragment"), longest);
  EXPECT_THROW(ParametersOfPath("/ss/" + longest + "a/stream/Manifest"), Malformed);
  EXPECT_THROW(ParametersOfPath("/ss/sid/stream/" + longest + "a"), Malformed);
}
