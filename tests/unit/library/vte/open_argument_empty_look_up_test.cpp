// OpenArgument beside a look-up of its own, which finds an empty path: the library's throws instead.
#include <gtest/gtest.h>

#include "contract/webapi/error.h"
#include "library/video.h"
#include "library/vte/open_argument.h"

namespace crvnkn::webapi {

std::string GetFilePathByID(int) { return {}; }

namespace vte {
namespace {

TEST(OpenArgumentEmptyLookUp, CheckFilePathFailsWithTheIdInBrackets) {
  OpenArgument argument;
  argument.id = 42;
  try {
    argument.CheckFilePath();
    FAIL() << "no Error was thrown";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), 1212);
    EXPECT_EQ(error.Message(), "Failed to get path from video id [42]");
  }
}

}  // namespace
}  // namespace vte
}  // namespace crvnkn::webapi
