// What the delivery of subtitles asks of the machine.
#include <cstdio>
#include <filesystem>

#include "contract/system/ea_dir.h"
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

Json::Value subtitle::PathInfo(const std::string& path) {
  Called("PathInfo", path);
  const std::string extension = std::filesystem::path(path).extension();
  Json::Value info;
  info["extension"] = extension.empty() ? "" : extension.substr(1);
  info["language"] = TheScript().language;
  return info;
}

}  // namespace libkn

namespace Opencc {

SimpleConverter::SimpleConverter(const std::string& config) : config_(config) {
  Called("SimpleConverter", config);
}

std::string SimpleConverter::Convert(const std::string& text) const {
  Called("Convert", text);
  return TheScript().simple_convert(text);
}

}  // namespace Opencc
