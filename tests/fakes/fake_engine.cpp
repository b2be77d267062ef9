#include "contract/engine/http_live_stream.h"
#include "contract/engine/smooth_stream.h"
#include "contract/engine/webm_stream.h"
#include "tests/fakes/script.h"

using kinora::fakes::Called;
using kinora::fakes::TheScript;

namespace LibCrvnVTE {

std::string VTEStream::GetRandStreamID(const std::string& file_path) {
  Called("GetRandStreamID", file_path);
  return TheScript().stream_id;
}

bool VTEStream::GetVolTmpAndSymlink(uint64_t bytes_needed, const std::string& stream_id,
                                    const std::string& type_name) {
  Called("GetVolTmpAndSymlink", bytes_needed, stream_id, type_name);
  return TheScript().link_working_folder(bytes_needed, stream_id, type_name);
}

std::string VTEStream::VTE_Init(const VTEInitArgument& argument) {
  Called("VTE_Init", argument.file_path, argument.stream_type, argument.profile_file, argument.profile_name,
         argument.url, argument.client, argument.file_size, argument.flag);
  return TheScript().engine_id;
}

struct VTEStream::State {
  std::string id;
  std::string type;
};

VTEStream::VTEStream(const std::string& stream_id, const std::string& type_name)
    : state_(std::make_unique<State>(State{stream_id, type_name})) {}
VTEStream::~VTEStream() = default;
VTEStream::VTEStream(const VTEStream& other) : state_(std::make_unique<State>(*other.state_)) {}
VTEStream& VTEStream::operator=(const VTEStream& other) {
  *state_ = *other.state_;
  return *this;
}

std::string VTEStream::GetStreamID() const { return state_->id; }

std::string VTEStream::GetVTEFileFullPath(const std::string& file_name) const {
  Called("GetVTEFileFullPath", state_->id, file_name);
  return "/tmp/Kinora/" + state_->type + "/" + state_->id + "/" + file_name;
}

std::string VTEStream::GetErrorString() const { return TheScript().engine_error; }

bool AdaptStream::Transcoding(const std::string& fragment_id) const {
  Called("Transcoding", GetStreamID(), fragment_id);
  return TheScript().make_fragment();
}

std::string AdaptStream::GetFragmentPath(const std::string& fragment_id) const {
  Called("GetFragmentPath", GetStreamID(), fragment_id);
  return TheScript().fragment_path;
}

bool AdaptStream::Close() const {
  Called("Close", GetStreamID());
  return TheScript().close_stream;
}

HttpLiveStream::HttpLiveStream(const std::string& stream_id) : AdaptStream(stream_id, "HLS") {
  Called("HttpLiveStream", stream_id);
}

bool HttpLiveStream::Init(const Json::Value& stream_url, const Json::Value& subtitle_url,
                          const std::string& audio_track, const std::string& audio_format) {
  Called("Init", GetStreamID(), stream_url, subtitle_url, audio_track, audio_format);
  return TheScript().start_stream;
}

std::string HttpLiveStream::GetMainfest(const std::string& playlist_type,
                                        const std::string& subtitle_id) const {
  Called("GetMainfest", GetStreamID(), playlist_type, subtitle_id);
  return TheScript().manifest_path;
}

SmoothStream::SmoothStream(const std::string& stream_id) : AdaptStream(stream_id, "SS") {
  Called("SmoothStream", stream_id);
}

bool SmoothStream::Init(const Json::Value& stream_url, const Json::Value& reserved,
                        const std::string& audio_track, const std::string& audio_format) {
  Called("Init", GetStreamID(), stream_url, reserved, audio_track, audio_format);
  return TheScript().start_stream;
}

std::string SmoothStream::GetMainfest() const {
  Called("GetMainfest", GetStreamID());
  return TheScript().manifest_path;
}

int DirectStream::Read(char* buffer, unsigned int size) {
  Called("Read", GetStreamID(), size);
  return TheScript().read_body(buffer, size);
}

void DirectStream::KillMonitor() const { Called("KillMonitor", GetStreamID()); }

bool DirectStream::Close() const {
  Called("Close", GetStreamID());
  return TheScript().close_stream;
}

WebMStream::WebMStream(const std::string& stream_id) : DirectStream(stream_id, "WEBM") {
  Called("WebMStream", stream_id);
}

bool WebMStream::Init(const std::string& audio_track) {
  Called("Init", GetStreamID(), audio_track);
  return TheScript().start_stream;
}

bool WebMStream::Transcoding(const std::string& ffmpeg_path, int seek_time) {
  Called("Transcoding", GetStreamID(), ffmpeg_path, seek_time);
  return TheScript().start_body;
}

}  // namespace LibCrvnVTE
