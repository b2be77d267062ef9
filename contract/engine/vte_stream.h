// What all streams of the engine share: their names, the disk space under them, and how they are set up.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "contract/engine/vte_init_argument.h"

namespace LibCrvnVTE {

// One stream, named by its id. An object is a name and the last failure, nothing more: all that a stream is
// lies in its folder, and any number of objects, in any processes, may stand for the same one. Copies are
// independent of each other.
class VTEStream {
 public:
  // A fresh id for a stream of the file: letters and digits only, at least 128 random bits, so that it can
  // stand in a path and cannot be guessed. Empty when the file path is empty or the machine yields no random
  // bytes.
  static std::string GetRandStreamID(const std::string& file_path);

  // Makes a working directory with mode 0700 on a volume that has at least `bytes_needed` bytes free and
  // links it to "/tmp/Kinora/<type_name>/<stream_id>". `type_name` is "RAW", "HLS", "SS" or "WEBM" and its
  // directory must exist already and belong to this account; `stream_id` must have the form that
  // GetRandStreamID gives. An existing name is never reused. false, with a line in the system log and nothing
  // of the stream left behind, when no volume has the space, a name is malformed, or the link cannot be made.
  static bool GetVolTmpAndSymlink(uint64_t bytes_needed, const std::string& stream_id,
                                  const std::string& type_name);

  // Prepares a stream of the argument's type: a fresh id, its working folder, and in it the record of what
  // is to be streamed. Gives the id, or an empty text, with a line in the log and nothing left behind, when
  // that failed; an object made from the empty id then refuses to start and its GetErrorString says why.
  // Nothing is encoded yet.
  static std::string VTE_Init(const VTEInitArgument& argument);

  // The id that the object was made from.
  std::string GetStreamID() const;

  // The absolute path that a file of this name has, or would have, in the stream's working folder. Empty when
  // there is no such stream, or the name is none of a file.
  std::string GetVTEFileFullPath(const std::string& file_name) const;

  // The keyword of why the stream was refused, "" when no refusal has a keyword that fits:
  //   "TransEnable"                        transcoding is switched off in the settings
  //   "TransEnableOfflineConverting"       an offline conversion has the machine
  //   "TransSapceNotEnough"                no volume has the space
  //   "TransAudioNotSupported"             the audio track does not exist or cannot be decoded
  //   "TransVideoNotSupported"             the video cannot be decoded, or not be copied as was asked
  //   "NeedToChangeMemoryLayout"           the machine has too little memory left
  //   "TransVideoNotHardwareSupported"     the profile wants hardware that is not there
  //   "TransVideoOutOfResolutionCapability", "TransVideoOutOfFramerateCapability",
  //   "TransVideoOutOfProfileCapability"   more than this machine takes on
  std::string GetErrorString() const;

 protected:
  VTEStream(const std::string& stream_id, const std::string& type_name);
  ~VTEStream();
  VTEStream(const VTEStream&);
  VTEStream& operator=(const VTEStream&);

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace LibCrvnVTE
