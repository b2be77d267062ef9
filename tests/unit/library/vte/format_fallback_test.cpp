#include "library/vte/format_fallback.h"

#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

class FormatFallback : public kinora::fakes::ScriptedTest {
 protected:
  // A routine that notes that it was tried.
  SetUpRoutine Gives(const std::string& format, const std::string& id) {
    return {format, [this, format, id] {
              tried_.push_back(format);
              return id;
            }};
  }
  SetUpRoutine Fails(const std::string& format, ErrorCode code, const std::string& message) {
    return {format, [this, format, code, message]() -> std::string {
              tried_.push_back(format);
              throw Error(code, message);
            }};
  }
  void ExpectRemembered(int code, const std::string& message) {
    EXPECT_EQ(static_cast<int>(last_error_.Code()), code);
    EXPECT_EQ(last_error_.Message(), message);
  }

  std::vector<std::string> tried_;
  Error last_error_{kErrorUnspecified};
};

TEST_F(FormatFallback, TriesTheRoutinesInTheirOwnOrder) {
  const std::vector<SetUpRoutine> routines = {Gives("hls", ""), Gives("ss", ""), Gives("raw", "r1")};
  const OpenedStream opened = OpenFirstAvailable(routines, {"raw", "ss", "hls"}, last_error_);
  EXPECT_EQ(opened.id, "r1");
  EXPECT_EQ(opened.format, "raw");
  EXPECT_EQ(tried_, (std::vector<std::string>{"hls", "ss", "raw"}));
}

TEST_F(FormatFallback, StopsAtTheFirstThatSucceeds) {
  const OpenedStream opened =
      OpenFirstAvailable({Gives("hls", "h1"), Gives("raw", "r1")}, {"hls", "raw"}, last_error_);
  EXPECT_EQ(opened.id, "h1");
  EXPECT_EQ(opened.format, "hls");
  EXPECT_EQ(tried_, (std::vector<std::string>{"hls"}));
}

TEST_F(FormatFallback, SkipsWhatIsNotAvailable) {
  const OpenedStream opened =
      OpenFirstAvailable({Gives("hls", "h1"), Gives("raw", "r1")}, {"raw"}, last_error_);
  EXPECT_EQ(opened.format, "raw");
  EXPECT_EQ(tried_, (std::vector<std::string>{"raw"}));
  ExpectCalls({"BlMatchFormat([raw], \"hls\")", "BlMatchFormat([raw], \"raw\")"});
}

TEST_F(FormatFallback, FallsThroughToTheNextWhenOneFails) {
  const OpenedStream opened = OpenFirstAvailable(
      {Fails("hls", kErrorVolumeSpace, "full"), Gives("raw", "r1")}, {"hls", "raw"}, last_error_);
  EXPECT_EQ(opened.id, "r1");
  EXPECT_EQ(opened.format, "raw");
  ExpectRemembered(1203, "full");
}

TEST_F(FormatFallback, RemembersTheLastFailureWhenAllFail) {
  const OpenedStream opened = OpenFirstAvailable(
      {Fails("hls", kErrorVolumeSpace, "full"), Fails("raw", kErrorStreamSetup, "save file path failed")},
      {"raw", "hls"}, last_error_);
  EXPECT_EQ(opened.id, "");
  ExpectRemembered(1212, "save file path failed");
}

TEST_F(FormatFallback, KeepsTheEarlierFailureWhenALaterOneDeclines) {
  OpenFirstAvailable({Fails("hls", kErrorVolumeSpace, "full"), Gives("raw", "")}, {"hls", "raw"},
                     last_error_);
  ExpectRemembered(1203, "full");
}

TEST_F(FormatFallback, RemembersNothingWhenAllDeclineOrNoneMatches) {
  EXPECT_EQ(OpenFirstAvailable({Gives("hls", ""), Gives("raw", "")}, {"hls", "raw"}, last_error_).id, "");
  EXPECT_EQ(OpenFirstAvailable({Gives("hls", "h1")}, {"ss"}, last_error_).id, "");
  ExpectRemembered(100, "");
}

TEST_F(FormatFallback, LetsAnyOtherExceptionPass) {
  const SetUpRoutine broken = {"hls", []() -> std::string { throw std::runtime_error("broken"); }};
  EXPECT_THROW(OpenFirstAvailable({broken, Gives("raw", "r1")}, {"hls", "raw"}, last_error_),
               std::runtime_error);
  EXPECT_TRUE(tried_.empty());
}

TEST_F(FormatFallback, LetsTheCallOfAnEmptyRoutinePass) {
  EXPECT_THROW(OpenFirstAvailable({{"raw", nullptr}}, {"raw"}, last_error_), std::bad_function_call);
}

}  // namespace
}  // namespace crvnkn::webapi::vte
