// The settings of the service: key="value" lines in one file, every key with a default.
//
// packaging/kinora.conf lists them all with their defaults and says what each is for; a test holds the two
// against each other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kinora::system {

struct Settings {
  std::string account;                // the account that the service runs as; empty: the one that started it
  unsigned int port = 8080;           // where the front listens; 0: any free port
  std::string address = "127.0.0.1";  // on which address
  std::vector<std::string>
      hosts;  // further names by which the front may be addressed; addresses, and "localhost", always may
  std::vector<std::string>
      volumes;  // where streams keep their working data; empty: the package's own var folder
  uint64_t free_space_floor = 256ULL << 20;  // bytes that stay free on a volume
  unsigned int session_days = 30;            // a session unused for so long ends
  bool transcoding = true;                   // whether films may be encoded at all
  bool hardware = false;                     // whether hardware may encode
  unsigned int jobs = 2;                     // encoders at work at once, for all viewers together
  unsigned int run_ahead_seconds = 120;      // of film that an encoder may be ahead of its viewer
  unsigned int idle_seconds = 60;            // an encoder that nobody has asked for so long ends
  uint64_t stream_quota = 2ULL << 30;        // bytes of fragments of one stream
  uint64_t streams_quota = 16ULL << 30;      // and of all of them

  bool operator==(const Settings&) const = default;
};

// The defaults where the file does not exist. A line that cannot be understood, or a value out of its range,
// is logged and the default stands. Never throws but for want of memory.
Settings LoadSettings(const std::string& path);

// What LoadSettings would log, in words for people.
std::vector<std::string> FaultsOfSettings(const std::string& path);

// The names of all keys, in alphabetical order.
std::vector<std::string> SettingNames();

}  // namespace kinora::system
