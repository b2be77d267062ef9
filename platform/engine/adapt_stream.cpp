#include "contract/engine/adapt_stream.h"

#include <sys/stat.h>

#include "platform/base/log.h"
#include "platform/engine/fragment_id.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/vte_stream_state.h"

namespace LibCrvnVTE {
namespace {

namespace engine = kinora::engine;
using kinora::base::Log;

constexpr char kUnit[] = "engine/adapt_stream";

}  // namespace

bool AdaptStream::Transcoding(const std::string& fragment_id) const {
  Log(LOG_ERR, kUnit, "No fragment [" + fragment_id + "] of the stream [" + state_->stream_id + "]");
  return false;
}

std::string AdaptStream::GetFragmentPath(const std::string& fragment_id) const {
  const auto folder = engine::StreamFolder::Open(state_->type, state_->stream_id);
  const auto id = engine::ParseFragmentId(fragment_id);
  if (!folder || !id) return "";
  std::string path = folder->WorkPath(engine::FileName(*id));
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return "";
  return path;
}

bool AdaptStream::Close() const { return engine::RemoveStream(state_->type, state_->stream_id); }

}  // namespace LibCrvnVTE
