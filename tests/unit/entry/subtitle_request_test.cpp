#include "entry/subtitle_request.h"

#include <gtest/gtest.h>

#include <climits>

#include "entry/api_errors.h"

using namespace kinora::entry;

namespace {

crvnkn::webapi::subtitle::GetMethodArguments ArgumentsOf(Form parameters) {
  static const kinora::system::Settings settings;
  Request request;
  request.parameters = std::move(parameters);
  request.parameters.try_emplace("subtitle_id", "2");
  Context context(request, settings);
  context.account.id = 3;
  return MakeSubtitleArguments(context);
}

int CodeOf(const std::string& name, const std::string& value) {
  try {
    ArgumentsOf({{name, value}});
  } catch (const Error& error) {
    return error.Code();
  }
  return 0;
}

}  // namespace

TEST(MakeSubtitleArguments, LeavesTheLibrarysDefaultsWhereNothingIsAsked) {
  const auto arguments = ArgumentsOf({});
  EXPECT_EQ(arguments.video_path, "");
  EXPECT_EQ(arguments.subtitle_id, "2");
  EXPECT_EQ(arguments.codepage, "auto");
  EXPECT_EQ(arguments.start_time, -1);
  EXPECT_EQ(arguments.end_time, -1);
  EXPECT_FALSE(arguments.output_webvtt || arguments.preview || arguments.keep_basic_tags);
  EXPECT_TRUE(arguments.strip_stray_brackets);
}

TEST(MakeSubtitleArguments, PassesOnWhatIsAsked) {
  const auto arguments = ArgumentsOf({{"subtitle_id", "/films/a film.srt"},
                                      {"codepage", "BIG5"},
                                      {"start_time", "60"},
                                      {"end_time", "2147483647"},
                                      {"output_webvtt", "true"},
                                      {"preview", "1"},
                                      {"keep_basic_tags", "true"},
                                      {"strip_stray_brackets", "false"}});
  EXPECT_EQ(arguments.subtitle_id, "/films/a film.srt");
  EXPECT_EQ(arguments.codepage, "BIG5");
  EXPECT_EQ(arguments.start_time, 60);
  EXPECT_EQ(arguments.end_time, INT32_MAX);
  EXPECT_TRUE(arguments.output_webvtt && arguments.preview && arguments.keep_basic_tags);
  EXPECT_FALSE(arguments.strip_stray_brackets);
  EXPECT_EQ(ArgumentsOf({{"subtitle_id", "DLNA"}}).subtitle_id, "DLNA");
  EXPECT_EQ(ArgumentsOf({{"start_time", "-20"}}).start_time, -20)
      << "players ask for what lies before the film";
}

TEST(MakeSubtitleArguments, ActsForTheSessionsAccountOnly) {
  for (const char* uid : {"", "3", "1", "4711", "-1", "root"})
    EXPECT_EQ(ArgumentsOf({{"uid", uid}}).uid, 3) << uid;
}

TEST(MakeSubtitleArguments, HasNoCharsetForATrack) {
  EXPECT_EQ(ArgumentsOf({{"codepage", "BIG5"}}).codepage, "auto");
  EXPECT_EQ(CodeOf("codepage", "UTF-7"), 101) << "nor one that is none";
}

TEST(MakeSubtitleArguments, RefusesWhatIsNotOfItsForm) {
  for (const char* id :
       {"-1", "00", "01", "1 ", " 1", "+1", "1e1", "3abc", "10000", "99999999999999999999", "dlna", "DLNA ",
        "a.srt", "../a.srt", "./a.srt", "file:///a.srt", "concat:a|b", "%d", "-i"}) {
    EXPECT_EQ(CodeOf("subtitle_id", id), 101) << id;
  }
  EXPECT_EQ(CodeOf("subtitle_id", "/" + std::string(PATH_MAX - 1, 'a')), 101) << "longer than any path";
  EXPECT_EQ(CodeOf("subtitle_id", "/" + std::string(PATH_MAX - 2, 'a')), 0);
  for (const char* name : {"start_time", "end_time"}) {
    for (const char* time : {"1.5", "2147483648", "-2147483648", "--1", "-", "01", "1s", " 1", "00:01:00"}) {
      EXPECT_EQ(CodeOf(name, time), 101) << time;
    }
  }
  for (const char* name : {"output_webvtt", "preview", "keep_basic_tags", "strip_stray_brackets"}) {
    EXPECT_EQ(CodeOf(name, "yes"), 101) << name;
  }
  for (const char* charset : {"UTF-7", "utf-8", "UTF-8//IGNORE", "-", "auto ", "../../x"}) {
    EXPECT_EQ(CodeOf("codepage", charset), 101) << charset;
  }
}
