// The verbs of tests about streams, written once: open a stream, expect errors and lines.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "library/vte/open_argument.h"
#include "library/vte/stream_initer.h"

namespace kinora::fakes {

// Begins with an empty log.
class StreamTest : public testing::Test {
 protected:
  StreamTest();

  // The record of a request for a file in a format.
  static crvnkn::webapi::vte::OpenArgument Request(const std::string& file_path, const std::string& format);
  // Opens it; what it throws passes.
  static crvnkn::webapi::vte::StreamIniter Open(const std::string& file_path, const std::string& format);

  static void ExpectError(int code, const std::string& message, const std::function<void()>& action);
  static void ExpectLog(const std::vector<std::string>& texts);  // as LogTexts gives them
};

}  // namespace kinora::fakes
