#include <sys/stat.h>

#include <climits>

#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_request.h"
#include "tests/unit/platform/engine/streams.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;
using LibCrvnVTE::HttpLiveStream;
using LibCrvnVTE::VTEInitArgument;
using LibCrvnVTE::VTEStream;

class VteInit : public StreamsTest {};

TEST_F(VteInit, KeepsWhatWasAskedFor) {
  const std::string path = "/videos/a \"film\"\n\xFF.mp4";  // no UTF-8 either
  VTEInitArgument argument(path, "HLS", "/etc/profiles", "hd_high");
  argument.url["url"] = "http://host/webapi/entry.cgi";
  argument.url["version"] = 1;
  argument.client = "chromecast";
  argument.file_size = uint64_t{1} << 63;
  argument.flag = false;
  const std::string id = VTEStream::VTE_Init(argument);
  const auto folder = StreamFolder::Open("HLS", id);
  ASSERT_TRUE(folder);
  const auto read = ReadRequest(*folder, "HLS");
  ASSERT_TRUE(read);
  EXPECT_EQ(read->file_path, path);
  EXPECT_EQ(read->stream_type, "HLS");
  EXPECT_EQ(read->profile_file, "/etc/profiles");
  EXPECT_EQ(read->profile_name, "hd_high");
  EXPECT_EQ(read->url, argument.url);
  EXPECT_EQ(read->client, "chromecast");
  EXPECT_EQ(read->file_size, uint64_t{1} << 63);
  EXPECT_FALSE(read->flag);
}

TEST_F(VteInit, PreparesEveryTypeInItsOwnFolder) {
  for (const char* type : {"HLS", "SS", "WEBM"}) {
    const std::string id = VTEStream::VTE_Init(VTEInitArgument("/film.mp4", type, "/profiles", "any"));
    EXPECT_EQ(fs::read_symlink(LinkOf(id, type)), FolderOf(id, type));
    EXPECT_EQ(HttpLiveStream(id).GetStreamID(), id);
  }
}

TEST_F(VteInit, GivesEachStreamAnIdOfItsOwn) { EXPECT_NE(Prepare(), Prepare()); }

TEST_F(VteInit, RefusesWhatCannotBeStreamedAndLeavesNothing) {
  const std::string nul("/film\0.mp4", 10);
  for (const std::string& path : {std::string(), std::string("film.mp4"), std::string("../film.mp4"), nul,
                                  std::string(PATH_MAX, '/')}) {
    EXPECT_EQ(Prepare(path), "") << path;
  }
  for (const char* type : {"", "hls", "RAW", "HLS ", "../HLS", "DASH"}) {
    EXPECT_EQ(VTEStream::VTE_Init(VTEInitArgument("/film.mp4", type, "/profiles", "any")), "") << type;
  }
  for (const Json::Value& url : {Json::Value("http://host"), Json::Value(Json::arrayValue), Json::Value(1)}) {
    VTEInitArgument argument("/film.mp4", "HLS", "/profiles", "any");
    argument.url = url;
    EXPECT_EQ(VTEStream::VTE_Init(argument), "");
  }
  ExpectNothingLeft();
}

TEST_F(VteInit, TellsWhereAFileOfAStreamLies) {
  const std::string id = Prepare();
  const HttpLiveStream stream(id);
  EXPECT_EQ(stream.GetVTEFileFullPath("access_status"), FolderOf(id) + "/access_status");
  WriteText(stream.GetVTEFileFullPath("request.json.aside"), "");
  EXPECT_TRUE(IsThere(LinkOf(id) + "/request.json.aside"));
  EXPECT_EQ(stream.GetVTEFileFullPath(std::string(NAME_MAX, 'x')),
            FolderOf(id) + "/" + std::string(NAME_MAX, 'x'));
}

TEST_F(VteInit, TellsNoPlaceOfWhatCanBeNoFileOfAStream) {
  const HttpLiveStream stream(Prepare());
  for (const std::string& name :
       {std::string(), std::string("."), std::string(".."), std::string("../x"), std::string("work/1.ts"),
        std::string("/etc/passwd"), std::string("a\0b", 3), std::string(NAME_MAX + 1, 'x')}) {
    EXPECT_EQ(stream.GetVTEFileFullPath(name), "") << name;
  }
  EXPECT_EQ(HttpLiveStream("").GetVTEFileFullPath("access_status"), "");
  EXPECT_EQ(HttpLiveStream(std::string(32, 'a')).GetVTEFileFullPath("access_status"), "");
  const std::string other = VTEStream::VTE_Init(VTEInitArgument("/film.mp4", "SS", "/profiles", "smooth"));
  EXPECT_EQ(HttpLiveStream(other).GetVTEFileFullPath("access_status"), "") << "of another type";
}

TEST_F(VteInit, FailsForWantOfSpaceAndTheEmptyIdSaysSo) {
  WriteText(system::kSettingsFile, "free_space_floor=\"8000000T\"\n");
  EXPECT_EQ(Prepare(), "");
  ExpectNothingLeft();
  HttpLiveStream stream("");
  EXPECT_FALSE(stream.Init(Json::Value(Json::objectValue), Json::Value(Json::objectValue), "", ""));
  EXPECT_EQ(stream.GetErrorString(), "TransSapceNotEnough");
}

TEST_F(VteInit, LeavesTheEmptyIdWithoutAWordWhenThereIsSpace) {
  HttpLiveStream stream("");
  EXPECT_FALSE(stream.Init(Json::Value(Json::objectValue), Json::Value(Json::objectValue), "", ""));
  EXPECT_EQ(stream.GetErrorString(), "");
  EXPECT_EQ(stream.GetStreamID(), "");
}

TEST_F(VteInit, DoesNotReadATornRequest) {
  const std::string id = Prepare();
  const StreamFolder folder = StreamFolder::Open("HLS", id).value();
  const std::string whole = folder.Read(kRequestFile).value();
  ASSERT_TRUE(ReadRequest(folder, "HLS"));
  for (size_t length = 0; length + 1 < whole.size(); ++length) {
    WriteText(folder.Path(kRequestFile), whole.substr(0, length));
    EXPECT_FALSE(ReadRequest(folder, "HLS")) << length;
  }
  for (const char* text : {"{}", "[]", "null", "{\"version\":2}", "{\"version\":1}"}) {
    WriteText(folder.Path(kRequestFile), text);
    EXPECT_FALSE(ReadRequest(folder, "HLS")) << text;
  }
  fs::remove(folder.Path(kRequestFile));
  EXPECT_FALSE(ReadRequest(folder, "HLS"));
}

}  // namespace
}  // namespace kinora::engine
