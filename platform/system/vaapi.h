// Whether hardware of this machine encodes H.264 through VAAPI.
#pragma once

#include <optional>
#include <string>

namespace kinora::system {

struct VaapiPlaces {
  std::string devices;  // the folder of the render nodes
  std::string ffmpeg;   // the program that is asked
  std::string memory;   // the file that holds its last answer
};
VaapiPlaces InstalledVaapi();

// The path of a render node that does, or nothing. Found out by encoding a few frames on each of them with
// the rights that encoders have; takes some tenths of a second where there is hardware, a look into a folder
// where there is none.
std::optional<std::string> FindVaapiDevice(const VaapiPlaces& places);

// The same from memory: the answer holds for an hour, and not beyond the machine's next start.
std::optional<std::string> RememberedVaapiDevice(const VaapiPlaces& places);

}  // namespace kinora::system
