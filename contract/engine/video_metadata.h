// What the engine knows of a media file after looking at it.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <memory>
#include <string>

namespace LibCrvnVTE {

// One probed file. Copies share what was loaded and never see each other's later loads.
//
// Before a successful LoadFile, strings are empty and numbers 0; so are those of a stream that the file
// lacks. Codec names are FFmpeg's ("h264", "hevc", "aac"), lower case. A video whose samples are not 8-bit
// 4:2:0 bears a suffix, since few players take it: the chroma format when it is not 4:2:0 ("_400" without
// chroma, "_411", "_422", "_440", "_444"), then the depth when it is more than 8 bits: "h264_10bit",
// "h264_422", "hevc_422_10bit", "hevc_12bit", ...
class VideoMetaData {
 public:
  VideoMetaData();

  // Probes the file at the absolute `path`; false when it cannot be opened or is no media file, with a line
  // in the system log. The content is read by a helper without rights, never by this process.
  bool LoadFile(const std::string& path);

  // Fills both with arrays of objects, one for each track in the file's order; a value that is an array
  // already is appended to, and one that gets no track is left as it was. false when nothing is loaded.
  //   video: "id" (text, the stream's index), "codec", "profile", "language", "title" (text), "width",
  //          "height" (numbers), "default" (true or false)
  //   audio: "id", "codec", "profile", "language", "title" (text), "channels", "frequency", "bitrate"
  //          (numbers), "default" (true or false)
  // Pictures attached to the file (covers) are no video tracks.
  bool GetTrackInfo(Json::Value& video, Json::Value& audio) const;

  // Fills `subtitle` likewise, with "codec" ("subrip", "ass", "hdmv_pgs_subtitle", ...), "track" (text, the
  // stream's index), "language", "title" (text as the file has it), "default", "forced" and
  // "hearing_impaired" (true or false).
  bool GetSubtitleTrackInfo(Json::Value& subtitle) const;

  std::string GetFilePath() const;  // as given to LoadFile
  // "mp4", "mov", "mkv", "webm", "avi", "mpegts", "mpeg", "flv", "asf", "ogg", "rm", "wtv", "mxf", "dv",
  // "nut"
  std::string GetContainer() const;
  uint64_t GetFileSize() const;      // bytes
  unsigned int GetDuration() const;  // seconds, rounded to the nearest
  unsigned int GetBitrate() const;   // bits per second, of the whole file

  // Of the first video track.
  std::string GetVideoCodecName() const;
  std::string GetVideoProfile() const;   // "High", "Main 10", ...
  unsigned int GetVideoBitrate() const;  // bits per second; estimated where the file does not say
  int GetVideoFramerateNum() const;      // frames per second as a fraction
  int GetVideoFramerateDen() const;
  unsigned int GetVideoRotate() const;    // degrees clockwise to turn the picture by: 0, 90, 180, 270
  unsigned int GetVideoDisplayX() const;  // the display aspect ratio before turning, lowest terms (16 and 9)
  unsigned int GetVideoDisplayY() const;
  unsigned int GetVideoResolutionX() const;  // pixels, as coded
  unsigned int GetVideoResolutionY() const;

  // Of the first audio track.
  std::string GetAudioCodecName() const;
  unsigned int GetAudioBitrate() const;  // bits per second
  unsigned int GetAudioChannel() const;
  unsigned int GetAudioFreqency() const;  // Hz

 private:
  struct State;
  std::shared_ptr<const State> state_;
};

}  // namespace LibCrvnVTE
