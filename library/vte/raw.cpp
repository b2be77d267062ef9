#include "library/vte/raw.h"

#include <cstdio>

#include "contract/system/file_output.h"
#include "library/log.h"
#include "library/vte/utils.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kLogUnit[] = "vte/raw";
constexpr char kMp4Type[] = "video/mp4";

// QuickTime files are given to players as MP4 on purpose: they play them under that name.
std::string MimeType(const std::string& source, const std::string& container) {
  if (container == "mp4") return kMp4Type;
  const std::string type = HTTPFileOutputer::GetMimeType(source.c_str());
  return type == "video/quicktime" ? kMp4Type : type;
}

}  // namespace

RAW::RAW(const std::string& stream_id) : Streamer(stream_id, kRaw) {}
RAW::~RAW() = default;

bool RAW::StreamImp() const {
  const std::string source = ReadFile(GetPathSourceFile());
  if (source.empty()) return false;
  const std::string container =
      ReadFile(JoinPath({kWorkspace, GetStreamTypeString(), stream_id_, "container"}));
  const std::string type = MimeType(source, container);

  std::fputs("Accept-Ranges: bytes\r\n", stdout);
  std::fflush(stdout);  // the file output may write past the buffer of stdout
  if (!CRVN::HTTP::FileOutputerHelper::SetFastOutputEnabled(false)) {
    KINORA_LOG(LOG_ERR, kLogUnit, "unset X-Accel-Redirect failed");
  }
  if (!libkn::critical::file_outputer::OutputFile(source, type)) {
    KINORA_LOG(LOG_ERR, kLogUnit, "VTE - Failed to stream out %s[%s]", GetStreamTypeString().c_str(),
               source.c_str());
    return false;
  }
  return true;
}

bool RAW::CloseImp() const { return RemoveDir(); }

}  // namespace crvnkn::webapi::vte
