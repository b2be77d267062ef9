// Scripted doubles of contract/: linked in the platform's place, they write every call with its arguments
// into one journal and answer what the script says.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "contract/media/database.h"
#include "contract/system/volume.h"

namespace kinora::fakes {

// The answers. A test changes what it is about; Reset puts back these defaults, under which everything
// succeeds.
struct Script {
  // The engine: the metadata of every file, and streams.
  bool load_file = true;
  std::string container = "mp4";
  uint64_t file_size = 0;
  std::string video_codec = "h264";
  std::string video_profile = "High";
  unsigned int resolution_x = 1920;
  unsigned int resolution_y = 1080;
  Json::Value video_tracks{Json::arrayValue};
  Json::Value audio_tracks{Json::arrayValue};
  Json::Value subtitle_tracks{Json::arrayValue};
  std::string stream_id = "newstream";  // empty: no id can be had
  // Makes a folder under `volume` and the link to it, like the real one; a test may put another in its place.
  std::function<bool(uint64_t bytes, const std::string& id, const std::string& type)> link_working_folder;
  std::string volume;
  std::string engine_id = "enginestream";  // what VTE_Init gives; empty: it failed
  bool start_stream = true;                // the success of Init
  std::string engine_error;                // the keyword of a refusal
  std::string manifest_path;
  std::function<bool()> make_fragment;
  std::string fragment_path;
  bool start_body = true;                                         // of a direct stream
  std::function<int(char* buffer, unsigned int size)> read_body;  // by default at its end at once
  bool close_stream = true;

  // The media database.
  bool database_fails = false;  // every question throws Failure
  std::vector<LibKinora::db::record::File> files;
  std::vector<LibKinora::db::record::Collection> collections;
  bool file_allowed = true;
  std::string right_pin;             // empty: none is right
  bool traditional_chinese = false;  // the setting of every account

  // The format rules.
  std::vector<std::string> formats{"raw"};
  std::string trans_profile = "hls_1080";  // empty: none fits
  bool force_ffmpeg = true;

  // JSON files as they were written last, by path; on the disk there are none.
  bool write_json = true;
  std::map<std::string, Json::Value> json_files;

  // Plug-ins: descriptions under their ids.
  bool load_plugins = true;
  Json::Value plugins{Json::objectValue};
  bool decrypt = true;          // of x is "clear x"
  std::string digest = "cafe";  // of every path; empty: there is none
  unsigned int platform_error = 0;

  // The machine.
  bool make_folder = true;
  std::function<int(const std::vector<std::string>& arguments)>
      execute;                                                      // by default really runs the program
  std::function<int(const std::vector<std::string>& command)> run;  // of a ProcessRunner; by default 0
  std::string captured_output;                                      // of every run
  std::map<std::string, std::string> settings;                      // of every file of keys and values
  std::map<std::string, std::string> mime_types;                    // by extension, with its dot
  bool set_fast_output = true;
  bool vaapi_supported = false;
  bool vaapi_enabled = false;
  std::string output = "BODY";  // what OutputFile and Output write to standard output
  bool output_file = true;
  int available_volumes = 1;
  VolumeInfo available_volume;
  unsigned int volume_flags = 0;
  // The extended-attribute folder of a file; empty: there is none. By default it is made where it really is.
  std::function<std::string(const std::string& path)> ea_folder;
  std::function<std::string(int length)> random_string;  // by default the same one each time
  std::string language;                                  // in the name of every subtitle
  std::vector<std::string> external_subtitles;           // of every video
  bool take_lock = true;
  int fork_child = 1;  // 0: the test's process is the child from then on
  bool list_external_subtitles = true;
  std::function<std::string(const std::string& text)> simple_convert;  // by default as it was

  Script();
};

// The script that answers now.
Script& TheScript();

// What was called since the last Reset, in order: `GetFile(42)`, `OutputFile("/v/a.mp4", "video/mp4")`. An
// operation of a stream begins with the stream's id: `Close("id")`. Left out are the getters of loaded
// metadata, of a stream's id and of its failure, and JoinString, which decide nothing.
std::vector<std::string>& Calls();

// Objects of the database's classes that are alive.
int OpenDatabases();

void Reset();

// Appends a call to the journal.
std::string Show(const std::string& text);
std::string Show(const char* text);
std::string Show(bool value);
std::string Show(int value);
std::string Show(unsigned int value);
std::string Show(uint64_t value);
std::string Show(const Json::Value& value);
std::string Show(const std::vector<std::string>& parts);

void Record(const std::string& operation, const std::vector<std::string>& shown_arguments);

template <typename... Arguments>
void Called(const std::string& operation, const Arguments&... arguments) {
  Record(operation, {Show(arguments)...});
}

// For the double of the database.
void CountDatabase(int change);

}  // namespace kinora::fakes
