#include "platform/engine/stream_request.h"

#include "platform/base/log.h"
#include "platform/engine/record.h"

namespace kinora::engine {
namespace {

constexpr char kUnit[] = "engine/stream_request";
constexpr int kVersion = 1;

}  // namespace

void WriteRequest(const StreamFolder& folder, const LibCrvnVTE::VTEInitArgument& argument) {
  Json::Value record(Json::objectValue);
  record["version"] = kVersion;
  record["path"] = argument.file_path;
  record["profile_file"] = argument.profile_file;
  record["profile_name"] = argument.profile_name;
  record["url"] = argument.url;
  record["client"] = argument.client;
  record["file_size"] = Json::UInt64{argument.file_size};
  record["flag"] = argument.flag;
  folder.Write(kRequestFile, WriteRecord(record));
}

std::optional<LibCrvnVTE::VTEInitArgument> ReadRequest(const StreamFolder& folder, const std::string& type) {
  const std::optional<std::string> text = folder.Read(kRequestFile);
  if (!text) {
    base::Log(LOG_ERR, kUnit, "The stream " + folder.StreamId() + " has no record of its request");
    return std::nullopt;
  }
  try {
    const Json::Value record = ParseRecord(*text, kVersion);
    LibCrvnVTE::VTEInitArgument argument(TextIn(record, "path"), type, TextIn(record, "profile_file"),
                                         TextIn(record, "profile_name"));
    argument.url = record["url"];
    argument.client = TextIn(record, "client");
    argument.file_size = CountIn(record, "file_size");
    argument.flag = FlagIn(record, "flag");
    return argument;
  } catch (const MalformedRecord& error) {
    base::Log(LOG_ERR, kUnit, "The request of the stream " + folder.StreamId() + ": " + error.what());
    return std::nullopt;
  }
}

}  // namespace kinora::engine
