// What the delivery of subtitles asks of the machine.
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "contract/media/lock.h"
#include "contract/system/ea_dir.h"
#include "contract/system/fileop.h"
#include "contract/system/hlibc.h"
#include "contract/system/random_string.h"
#include "contract/system/simple_converter.h"
#include "contract/system/subtitle_files.h"
#include "tests/fakes/script.h"

using kinora::fakes::Called;
using kinora::fakes::TheScript;

namespace {

bool PutEaFolder(const char* path, char* buffer, int size) {
  const std::string folder = TheScript().ea_folder(path);
  if (folder.empty() || folder.size() >= static_cast<size_t>(size)) return false;
  std::snprintf(buffer, static_cast<size_t>(size), "%s", folder.c_str());
  return true;
}

}  // namespace

int GetEADirPath(const char* path, char* buffer, int size) {
  Called("GetEADirPath", path, size);
  return PutEaFolder(path, buffer, size) ? 0 : -1;
}

namespace libkn {

bool critical::crvnindex::GetEADirPath(const char* path, char* buffer, int size) {
  Called("crvnindex::GetEADirPath", path, size);
  return PutEaFolder(path, buffer, size);
}

std::string util::RandomString(const std::string& alphabet, int length) {
  Called("RandomString", alphabet, length);
  return TheScript().random_string(length);
}

bool critical::fileop::CheckFileAndGetMtime(const std::string& path, time_t& mtime) {
  Called("CheckFileAndGetMtime", path);
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  mtime = status.st_mtime;
  return true;
}

Json::Value subtitle::PathInfo(const std::string& path) {
  Called("PathInfo", path);
  const std::string extension = std::filesystem::path(path).extension();
  Json::Value info;
  info["extension"] = extension.empty() ? "" : extension.substr(1);
  info["language"] = TheScript().language;
  info["basename"] = std::filesystem::path(path).filename().string();
  return info;
}

int subtitle::GetExternalSubtitle(const std::string& video_path, Json::Value& list) {
  Called("GetExternalSubtitle", video_path);
  if (!TheScript().list_external_subtitles) return -1;
  for (const std::string& path : TheScript().external_subtitles) list.append(path);
  return 0;
}

bool subtitle::IsAllowEmbaddedSubtitleContiner(const std::string& container) {
  Called("IsAllowEmbaddedSubtitleContiner", container);
  return container == "mkv" || container == "mp4";
}

bool subtitle::IsTextBaseSubtitleCodec(const std::string& codec) {
  Called("IsTextBaseSubtitleCodec", codec);
  return codec == "subrip" || codec == "ass";
}

}  // namespace libkn

int HLIBCProcForkChildNoWait() {
  Called("HLIBCProcForkChildNoWait");
  return TheScript().fork_child;
}

namespace LibKinora {

struct Lock::State {
  std::string path;
};

// Makes the file, like the real one.
Lock::Lock(const std::string& path, bool wait) : state_(std::make_shared<State>(State{path})) {
  Called("Lock", path, wait);
  if (TheScript().take_lock) std::ofstream(path, std::ios::app);
}

bool Lock::IsLockSucess() const { return TheScript().take_lock; }

}  // namespace LibKinora

namespace Opencc {

SimpleConverter::SimpleConverter(const std::string& config) : config_(config) {
  Called("SimpleConverter", config);
}

std::string SimpleConverter::Convert(const std::string& text) const {
  Called("Convert", text);
  return TheScript().simple_convert(text);
}

}  // namespace Opencc
