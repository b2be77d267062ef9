#include <climits>
#include <exception>
#include <string_view>

#include "contract/engine/vte_stream.h"
#include "contract/system/crvn_fs.h"
#include "platform/base/log.h"
#include "platform/engine/stream_folder.h"
#include "platform/engine/stream_id.h"
#include "platform/engine/stream_request.h"
#include "platform/engine/stream_space.h"
#include "platform/engine/vte_stream_state.h"
#include "platform/system/places.h"

namespace LibCrvnVTE {
namespace {

namespace engine = kinora::engine;
using kinora::base::Log;

constexpr char kUnit[] = "engine/vte_init";
constexpr unsigned int kTypeFolderMode = 0777;  // the workspace above is closed to others

// What speaks against the argument, or nullptr.
const char* Objection(const VTEInitArgument& argument) {
  const std::string& path = argument.file_path;
  if (!path.starts_with('/') || path.size() >= PATH_MAX || path.find('\0') != std::string::npos)
    return "no absolute path of a film";
  if (!engine::IsStreamType(argument.stream_type) || argument.stream_type == "RAW")
    return "no type that is prepared";
  if (!argument.url.isNull() && !argument.url.isObject()) return "no address";
  return nullptr;
}

bool IsFileName(const std::string& name) {
  return !name.empty() && name.size() <= NAME_MAX && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

// The record in the folder of the new stream.
bool WriteRecordOf(const VTEInitArgument& argument, const std::string& stream_id) {
  const auto folder = engine::StreamFolder::Open(argument.stream_type, stream_id);
  if (!folder) return false;
  try {
    engine::WriteRequest(*folder, argument);
    return true;
  } catch (const std::exception& error) {  // of the disk, or text that is no UTF-8
    Log(LOG_ERR, kUnit, std::string("No record of the request: ") + error.what());
    return false;
  }
}

}  // namespace

bool VTEStream::State::IsOpen(const std::optional<engine::Refusal>& refusal) {
  error = refusal ? refusal->keyword : "";
  if (refusal)
    Log(LOG_ERR, kUnit,
        "Refused the stream [" + stream_id + "] " + refusal->keyword + ": " + refusal->reason);
  return !refusal;
}

VTEStream::VTEStream(const std::string& stream_id, const std::string& type_name)
    : state_(std::make_unique<State>(State{stream_id, type_name, "", nullptr})) {}
VTEStream::~VTEStream() = default;
VTEStream::VTEStream(const VTEStream& other) : state_(std::make_unique<State>(*other.state_)) {}
VTEStream& VTEStream::operator=(const VTEStream& other) {
  *state_ = *other.state_;
  return *this;
}

std::string VTEStream::GetStreamID() const { return state_->stream_id; }
std::string VTEStream::GetErrorString() const { return state_->error; }

std::string VTEStream::GetVTEFileFullPath(const std::string& file_name) const {
  const auto folder = engine::StreamFolder::Open(state_->type, state_->stream_id);
  return folder && IsFileName(file_name) ? folder->Path(file_name) : "";
}

std::string VTEStream::VTE_Init(const VTEInitArgument& argument) {
  if (const char* const objection = Objection(argument)) {
    Log(LOG_ERR, kUnit, std::string("Cannot prepare a stream: ") + objection);
    return "";
  }
  const std::string& type = argument.stream_type;
  const std::string types = std::string(kinora::system::kWorkspace) + "/" + type;
  if (!libkn::critical::crvnsdk::CRVNFSMkdirPKinora(types, kTypeFolderMode)) return "";
  const std::string stream_id = GetRandStreamID(argument.file_path);
  if (stream_id.empty() || !GetVolTmpAndSymlink(engine::kSpaceOfAStream, stream_id, type)) return "";
  if (WriteRecordOf(argument, stream_id)) return stream_id;
  engine::RemoveStream(type, stream_id);
  return "";
}

}  // namespace LibCrvnVTE
