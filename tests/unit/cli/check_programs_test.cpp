#include "cli/check_programs.h"

#include <gmock/gmock.h>

namespace kinora::cli {
namespace {

using testing::IsSupersetOf;

TEST(NamesInListing, AreTheSecondWordsOfTheLines) {
  const char* const encoders =
      "Encoders:\n V..... = Video\n ------\n V....D libx264              libx264 H.264 / AVC (codec h264)\n"
      " A....D aac                  AAC (Advanced Audio Coding)\n";
  EXPECT_THAT(NamesInListing(encoders), testing::UnorderedElementsAre("libx264", "aac"));
  const char* const filters =
      "Filters:\n  T.. = Timeline support\n ... zscale            V->V       Apply resizing\n"
      " TSC bwdif             V->V       Deinterlace the input image.\n";
  EXPECT_THAT(NamesInListing(filters), IsSupersetOf({"zscale", "bwdif"}));
  for (const char* const nothing : {"", "\n\n", "word", "   "}) {
    EXPECT_TRUE(NamesInListing(nothing).empty()) << nothing;
  }
}

}  // namespace
}  // namespace kinora::cli
