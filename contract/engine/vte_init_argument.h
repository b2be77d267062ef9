// What the engine is told when a stream is to be prepared.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <string>

namespace LibCrvnVTE {

struct VTEInitArgument {
  VTEInitArgument(const std::string& file_path_, const std::string& stream_type_,
                  const std::string& profile_file_, const std::string& profile_name_)
      : file_path(file_path_),
        stream_type(stream_type_),
        profile_file(profile_file_),
        profile_name(profile_name_) {}

  std::string file_path;     // absolute
  std::string stream_type;   // "HLS", "SS" or "WEBM"
  std::string profile_file;  // the file of transcoding profiles, absolute
  std::string profile_name;  // one of its profiles, as DetermineTransProfile gives it
  Json::Value url;           // the stream's address: an object, see HttpLiveStream; null for the other types
  std::string client;        // the kind of player, "" or such as "chromecast"
  uint64_t file_size = 0;    // bytes; 0: not told
  bool flag = true;          // kept with the stream's record; nothing depends on it
};

}  // namespace LibCrvnVTE
