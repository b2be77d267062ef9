#include "entry/stream_opening.h"

#include <gtest/gtest.h>

#include "entry/stream_parameters.h"

using namespace kinora::entry;

namespace {

Request With(const std::string& name, const std::string& value) {
  Request request;
  request.host = "films.example:8080";
  request.scheme = "https";
  request.parameters = {{"id", "7"}};
  if (!name.empty()) request.parameters[name] = value;
  return request;
}

crvnkn::webapi::vte::OpenArgument ArgumentOf(const Request& request) {
  static const kinora::system::Settings settings;
  Context context(request, settings);
  context.account.id = 3;
  context.session.sid = "the-sid";
  context.session.token = "the-token";
  return MakeOpenArgument(context);
}

int CodeOf(const std::string& name, const std::string& value) {
  try {
    ArgumentOf(With(name, value));
  } catch (const Error& error) {
    return error.Code();
  }
  return 0;
}

}  // namespace

TEST(MakeOpenArgument, SaysWhereTheStreamWillBeAskedForAndByWhom) {
  const auto argument = ArgumentOf(With("", ""));
  EXPECT_EQ(argument.id, 7);
  EXPECT_EQ(argument.format, "auto");
  EXPECT_EQ(argument.host_prefix + argument.cgi_path, "https://films.example:8080/webapi/entry.cgi");
  EXPECT_EQ(argument.api, "CRVN.Kinora2.Stream");
  EXPECT_EQ(argument.sid, "the-sid");
  EXPECT_EQ(argument.token, "the-token");
  EXPECT_EQ(argument.uid, 3);
  EXPECT_FALSE(argument.hls_header || argument.force_open_vte || argument.is_sharing);
  EXPECT_EQ(argument.audio_track + argument.profile + argument.client + argument.audio_format, "");
}

TEST(MakeOpenArgument, PassesOnWhatTheViewerChose) {
  EXPECT_EQ(ArgumentOf(With("format", "hls,hls_remux")).format, "hls,hls_remux");
  EXPECT_EQ(ArgumentOf(With("profile", "hd_high")).profile, "hd_high");
  EXPECT_EQ(ArgumentOf(With("audio_track", "2")).audio_track, "2");
  EXPECT_EQ(ArgumentOf(With("audio_format", "ac3_copy")).audio_format, "ac3_copy");
  EXPECT_EQ(ArgumentOf(With("client", "chromecast")).client, "chromecast");
  EXPECT_EQ(ArgumentOf(With("subtitle_id", "DLNA")).subtitle_id, "DLNA");
}

TEST(MakeOpenArgument, RefusesWhatIsNotOfItsForm) {
  const std::string kHostile[] = {
      "../x", "a b", "-i", "a\nb", std::string("a\0b", 3), "a%2fb", "\xC3\xA9", std::string(65, 'a')};
  for (const char* name :
       {"id", "format", "profile", "client", "audio_track", "audio_format", "subtitle_id"}) {
    for (const std::string& value : kHostile) EXPECT_EQ(CodeOf(name, value), 101) << name << " " << value;
  }
  EXPECT_EQ(CodeOf("id", "0"), 101);
  EXPECT_EQ(CodeOf("audio_track", "10000"), 101);
  EXPECT_EQ(CodeOf("subtitle_id", "dlna"), 101);
}

TEST(WordParameter, TakesTheNamesOfFragmentsAndPlaylists) {
  for (const char* word : {"", "12", "a2_12", "master", "video", "audio_2", "hd_high"}) {
    EXPECT_EQ(WordParameter(With("word", word), "word"), word);
  }
}

TEST(OfferedSubtitleParameter, TakesAPathForThePlaylistOfASubtitleAlone) {
  const auto asked = [](const std::string& playlist, const std::string& subtitle) {
    Request request = With("subtitle_id", subtitle);
    request.parameters["playlist"] = playlist;
    return request;
  };
  const auto code_of = [](const Request& request) {
    try {
      OfferedSubtitleParameter(request);
      return 0;
    } catch (const Error& error) {
      return static_cast<int>(error.Code());
    }
  };
  for (const char* id : {"", "2", "DLNA", "/films/a \"b\"\n.srt"})
    EXPECT_EQ(OfferedSubtitleParameter(asked("subtitle", id)), id);
  EXPECT_EQ(code_of(asked("subtitle", "/" + std::string(4094, 'a'))), 0);
  EXPECT_EQ(code_of(asked("subtitle", "/" + std::string(4095, 'a'))), 101);
  for (const char* playlist : {"", "master", "video", "subtitle_1"})
    EXPECT_EQ(code_of(asked(playlist, "/films/a.srt")), 101) << playlist;
  for (const char* id : {"films/a.srt", "-1", "dlna", " /films/a.srt"})
    EXPECT_EQ(code_of(asked("subtitle", id)), 101) << id;
}

TEST(FragmentParameter, TakesWordsAndTheAddressesOfChunks) {
  for (const char* fragment : {"", "12", "a2_12", "QualityLevels(1500000)/Fragments(video=0)",
                               "QualityLevels(0)/Fragments(audio_2=123456789012345678)"}) {
    EXPECT_EQ(FragmentParameter(With("fragment", fragment)), fragment);
  }
}

TEST(FragmentParameter, RefusesWhatIsNotOfItsForm) {
  for (const std::string& fragment : {std::string("../owner"),
                                      std::string("a b"),
                                      std::string("12.ts"),
                                      std::string("Manifest/x"),
                                      std::string("QualityLevels(1500000)"),
                                      std::string("QualityLevels(1500000)/Fragments(video=0)/"),
                                      std::string("QualityLevels(1500000)/Fragments(video=0"),
                                      std::string("QualityLevels()/Fragments(video=0)"),
                                      std::string("QualityLevels(-1)/Fragments(video=0)"),
                                      std::string("QualityLevels(1)/Fragments(video=-1)"),
                                      std::string("QualityLevels(1)/Fragments(video=1.5)"),
                                      std::string("QualityLevels(01)/Fragments(video=0)"),
                                      std::string("QualityLevels(1)/Fragments(=0)"),
                                      std::string("QualityLevels(1)/Fragments(../../x=0)"),
                                      std::string("QualityLevels(1)/Fragments(a b=0)"),
                                      std::string("QualityLevels(1)/Fragments(a\r\nb=0)"),
                                      std::string("QualityLevels(1)/../Fragments(video=0)"),
                                      std::string("/QualityLevels(1)/Fragments(video=0)"),
                                      std::string("qualitylevels(1)/fragments(video=0)"),
                                      std::string("QualityLevels(1)/Fragments(video=0)\0", 36),
                                      std::string("QualityLevels(99999999999999999999)/Fragments(video=0)"),
                                      std::string("QualityLevels(1)/Fragments(video=99999999999999999999)"),
                                      "QualityLevels(1)/Fragments(" + std::string(33, 'a') + "=0)",
                                      std::string(8000, 'a')}) {
    EXPECT_THROW(FragmentParameter(With("fragment", fragment)), Error) << fragment;
  }
}

TEST(EncodingMayHelp, WhereTheFileIsNotFitToBeCopied) {
  for (const int code : {1204, 1205, 1207, 1208, 1209, 1210, 1212}) {
    EXPECT_TRUE(EncodingMayHelp(static_cast<ErrorCode>(code))) << code;
  }
  // Switched off, busy, out of space or memory; no way at all; a wrong request.
  for (const int code : {1200, 1201, 1202, 1203, 1206, 1211, 100, 101, 105}) {
    EXPECT_FALSE(EncodingMayHelp(static_cast<ErrorCode>(code))) << code;
  }
}
