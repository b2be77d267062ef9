#include "contract/engine/video_metadata.h"
#include "tests/fakes/script.h"

using kinora::fakes::Called;
using kinora::fakes::TheScript;

namespace LibCrvnVTE {

struct VideoMetaData::State {
  std::string path;
};

VideoMetaData::VideoMetaData() : state_(std::make_shared<State>()) {}

bool VideoMetaData::LoadFile(const std::string& path) {
  Called("LoadFile", path);
  if (TheScript().load_file) state_ = std::make_shared<State>(State{path});
  return TheScript().load_file;
}

bool VideoMetaData::GetTrackInfo(Json::Value& video, Json::Value& audio) const {
  if (state_->path.empty()) return false;
  for (const Json::Value& track : TheScript().video_tracks) video.append(track);
  for (const Json::Value& track : TheScript().audio_tracks) audio.append(track);
  return true;
}

bool VideoMetaData::GetSubtitleTrackInfo(Json::Value& subtitle) const {
  if (state_->path.empty()) return false;
  for (const Json::Value& track : TheScript().subtitle_tracks) subtitle.append(track);
  return true;
}

std::string VideoMetaData::GetFilePath() const { return state_->path; }
std::string VideoMetaData::GetContainer() const { return TheScript().container; }
uint64_t VideoMetaData::GetFileSize() const { return TheScript().file_size; }
unsigned int VideoMetaData::GetDuration() const { return 0; }
unsigned int VideoMetaData::GetBitrate() const { return 0; }
std::string VideoMetaData::GetVideoCodecName() const { return TheScript().video_codec; }
std::string VideoMetaData::GetVideoProfile() const { return TheScript().video_profile; }
unsigned int VideoMetaData::GetVideoBitrate() const { return 0; }
int VideoMetaData::GetVideoFramerateNum() const { return 0; }
int VideoMetaData::GetVideoFramerateDen() const { return 0; }
unsigned int VideoMetaData::GetVideoRotate() const { return 0; }
unsigned int VideoMetaData::GetVideoDisplayX() const { return 0; }
unsigned int VideoMetaData::GetVideoDisplayY() const { return 0; }
unsigned int VideoMetaData::GetVideoResolutionX() const { return TheScript().resolution_x; }
unsigned int VideoMetaData::GetVideoResolutionY() const { return TheScript().resolution_y; }
std::string VideoMetaData::GetAudioCodecName() const { return {}; }
unsigned int VideoMetaData::GetAudioBitrate() const { return 0; }
unsigned int VideoMetaData::GetAudioChannel() const { return 0; }
unsigned int VideoMetaData::GetAudioFreqency() const { return 0; }

}  // namespace LibCrvnVTE
