#include "contract/system/subtitle_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

#include "contract/system/file_output.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/system/subtitle_name.h"

namespace {

using kinora::base::Descriptor;
using kinora::base::ToLowerAscii;
using kinora::system::GoesOnApart;
using kinora::system::HasSubtitleExtension;
using kinora::system::WithoutExtension;

constexpr char kUnit[] = "system/subtitle_files";

// What of a folder may matter to the video.
struct Folder {
  std::vector<std::string> subtitles;          // plain files whose name begins as the video's
  std::set<std::string, std::less<>> longer;   // without extension: other videos that begin as this one
  std::set<std::string, std::less<>> indexes;  // without extension: of subtitles that are pictures
  std::vector<std::string> folders;            // for subtitles
};

bool IsVideo(const std::string& name) {
  return HTTPFileOutputer::GetMimeType(name.c_str()).starts_with("video/");
}

bool IsSubtitleFolder(std::string_view name) {
  const std::string lower = ToLowerAscii(name);
  return lower == "subs" || lower == "subtitles";
}

// Of what the entry itself is, not of what a link leads to.
bool IsOfType(int folder, const dirent& entry, unsigned char type, mode_t mode) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == type;
  struct stat info {};
  return ::fstatat(folder, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && (info.st_mode & S_IFMT) == mode;
}

void Take(int folder, const dirent& entry, std::string_view video, Folder& found) {
  const std::string name = entry.d_name;
  if (IsSubtitleFolder(name) && IsOfType(folder, entry, DT_DIR, S_IFDIR)) found.folders.push_back(name);
  if (!name.starts_with(video)) return;
  const std::string_view own = WithoutExtension(name);
  if (own.size() < video.size() || !GoesOnApart(own.substr(video.size()))) return;
  if (HasSubtitleExtension(name)) {
    if (IsOfType(folder, entry, DT_REG, S_IFREG)) found.subtitles.push_back(name);
  } else if (name.size() == own.size() + 4 && ToLowerAscii(name).ends_with(".idx")) {
    found.indexes.emplace(own);
  } else if (own.size() > video.size() && IsVideo(name)) {
    found.longer.emplace(own);
  }
}

// 0, or errno when the folder cannot be read to its end.
int Read(Descriptor opened, std::string_view video, Folder& found) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(::fdopendir(opened.Get()), ::closedir);
  if (!directory) return errno;
  static_cast<void>(opened.Release());
  while (true) {
    errno = 0;
    const dirent* const entry = ::readdir(directory.get());
    if (entry == nullptr) return errno;
    Take(::dirfd(directory.get()), *entry, video, found);
  }
}

// Whether the name begins as that of another video does, whose name goes on where the video's ends.
bool FitsAnother(std::string_view name, std::string_view video, const Folder& beside) {
  if (beside.longer.empty()) return false;
  const std::string_view own = WithoutExtension(name);
  for (size_t length = own.size(); length > video.size(); --length) {
    if (GoesOnApart(own.substr(length)) && beside.longer.contains(own.substr(0, length))) return true;
  }
  return false;
}

bool ArePictures(std::string_view name, const Folder& folder) {
  return ToLowerAscii(name).ends_with(".sub") && folder.indexes.contains(WithoutExtension(name));
}

void Add(const std::string& path, const Folder& folder, std::string_view video, const Folder& beside,
         std::vector<std::string>& paths) {
  for (const std::string& name : folder.subtitles) {
    if (!FitsAnother(name, video, beside) && !ArePictures(name, folder)) paths.push_back(path + name);
  }
}

void Complain(const std::string& folder, int error) {
  kinora::base::Log(LOG_ERR, kUnit, "cannot read " + folder + ": " + std::strerror(error));
}

}  // namespace

namespace libkn::subtitle {

Json::Value PathInfo(const std::string& path) {
  const kinora::system::SubtitleName name = kinora::system::ReadSubtitleName(path);
  Json::Value info(Json::objectValue);
  info["basename"] = std::string(kinora::system::BaseName(path));
  info["extension"] = name.extension;
  info["language"] = name.language;
  info["forced"] = name.forced;
  info["hearing_impaired"] = name.hearing_impaired;
  return info;
}

int GetExternalSubtitle(const std::string& video_path, Json::Value& list) {
  list = Json::Value(Json::arrayValue);
  if (!video_path.starts_with('/')) return 0;
  const std::string folder = video_path.substr(0, video_path.rfind('/') + 1);
  const std::string_view video = WithoutExtension(std::string_view(video_path).substr(folder.size()));
  if (video.empty()) return 0;
  const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened && (errno == ENOENT || errno == ENOTDIR)) return 0;
  Folder beside;
  const int error =
      opened ? Read(Descriptor(::fcntl(opened.Get(), F_DUPFD_CLOEXEC, 0)), video, beside) : errno;
  if (error != 0) {
    Complain(folder, error);
    return -1;
  }
  std::vector<std::string> paths;
  Add(folder, beside, video, beside, paths);
  for (const std::string& name : beside.folders) {
    Descriptor below(::openat(opened.Get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    Folder subtitles;
    const int fault = below ? Read(std::move(below), video, subtitles) : errno;
    if (fault != 0) Complain(folder + name, fault);
    Add(folder + name + "/", subtitles, video, beside, paths);
  }
  std::sort(paths.begin(), paths.end());
  for (const std::string& path : paths) list.append(path);
  return 0;
}

}  // namespace libkn::subtitle
