#include "tests/fakes/stream_test.h"

#include "contract/webapi/error.h"
#include "tests/fakes/system_log.h"

namespace kinora::fakes {

using crvnkn::webapi::Error;
using crvnkn::webapi::vte::OpenArgument;
using crvnkn::webapi::vte::StreamIniter;

StreamTest::StreamTest() { ClearLog(); }

OpenArgument StreamTest::Request(const std::string& file_path, const std::string& format) {
  OpenArgument argument;
  argument.file_path = file_path;
  argument.format = format;
  return argument;
}

StreamIniter StreamTest::Open(const std::string& file_path, const std::string& format) {
  StreamIniter initer(Request(file_path, format));
  initer.LegacyProcess();
  return initer;
}

void StreamTest::ExpectError(int code, const std::string& message, const std::function<void()>& action) {
  try {
    action();
    ADD_FAILURE() << "no Error was thrown, " << code << " " << message << " was expected";
  } catch (const Error& error) {
    EXPECT_EQ(static_cast<int>(error.Code()), code);
    EXPECT_EQ(error.Message(), message);
  }
}

void StreamTest::ExpectLog(const std::vector<std::string>& texts) { EXPECT_EQ(LogTexts(), texts); }

}  // namespace kinora::fakes
