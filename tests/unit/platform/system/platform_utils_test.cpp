#include "contract/system/platform_utils.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/system/places.h"
#include "platform/system/vaapi.h"

namespace libkn::util {
namespace {

// One test: what was found out holds for the process.
TEST(PlatformUtils, SupportsWhatTheHardwareDoesAndEnablesWhatTheSettingsAllow) {
  std::ofstream(kinora::system::kSettingsFile) << "hardware=\"no\"\n";
  const PlatformUtils& utils = PlatformUtils::GetInst();
  EXPECT_FALSE(utils.IsVaapiFFmpegEnabled());
  const bool found = kinora::system::FindVaapiDevice(kinora::system::InstalledVaapi()).has_value();
  EXPECT_EQ(utils.IsSupportVaapi(), found);
  EXPECT_FALSE(utils.IsVaapiFFmpegEnabled());
  EXPECT_EQ(&utils, &PlatformUtils::GetInst());
}

TEST(PlatformUtils, EnablesWhatIsAllowedAndSupported) {
  std::ofstream(kinora::system::kSettingsFile) << "hardware=\"yes\"\n";
  const PlatformUtils& utils = PlatformUtils::GetInst();
  EXPECT_EQ(utils.IsVaapiFFmpegEnabled(), utils.IsSupportVaapi());
}

}  // namespace
}  // namespace libkn::util
