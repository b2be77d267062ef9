#include "contract/system/plugin_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/base/bounded_file.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/system/strict_json.h"

namespace {

using kinora::base::Descriptor;

constexpr char kUnit[] = "system/plugin_folder";
constexpr char kDescriptionFile[] = "plugin.json";
constexpr char kProgramFile[] = "subtitle.php";
constexpr size_t kDescriptionLimit = size_t{64} << 10;
constexpr int kDeepest = 16;
constexpr size_t kIdLimit = 128;
constexpr size_t kTitleLimit = 256;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kFileFlags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;

// A description, or why there is none.
struct Outcome {
  std::optional<Json::Value> description;
  std::string objection;
};

Outcome Object(const std::string& what, const char* reason) { return {std::nullopt, what + " " + reason}; }

// Null when nobody but root and the service can have put it there or changed it.
const char* Objection(int opened) {
  struct stat status {};
  if (::fstat(opened, &status) != 0) return std::strerror(errno);
  std::array<uid_t, 3> own{};
  ::getresuid(&own[0], &own[1], &own[2]);
  if (status.st_uid != 0 && std::find(own.begin(), own.end(), status.st_uid) == own.end())
    return "belongs to another account";
  if ((status.st_mode & S_IWOTH) != 0) return "may be written by others";
  return nullptr;
}

bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool IsId(std::string_view text) {
  return !text.empty() && text.size() <= kIdLimit && IsLetterOrDigit(text.front()) &&
         std::all_of(text.begin(), text.end(),
                     [](char c) { return IsLetterOrDigit(c) || c == '.' || c == '-' || c == '_'; });
}

bool IsTitle(const std::string& text) {
  return !text.empty() && text.size() <= kTitleLimit && kinora::base::ToOneLine(text) == text;
}

bool HasText(const Json::Value& object, const char* key) {
  return object.isObject() && object.isMember(key) && object[key].isString();
}

Outcome ReadDescription(const std::string& text) {
  const std::optional<Json::Value> json = kinora::system::ParseStrictJson(text, kDeepest);
  if (!json) return Object(kDescriptionFile, "is no JSON");
  if (!HasText(*json, "id") || !IsId((*json)["id"].asString())) return Object(kDescriptionFile, "has no id");
  if (!HasText(*json, "title") || !IsTitle((*json)["title"].asString()))
    return Object(kDescriptionFile, "has no title");
  Json::Value description(Json::objectValue);
  description["id"] = (*json)["id"].asString();
  description["title"] = (*json)["title"].asString();
  return {std::move(description), {}};
}

Outcome LookAt(int parent, const std::string& name) {
  const Descriptor folder(::openat(parent, name.c_str(), kFolderFlags));
  if (!folder) return Object("it:", std::strerror(errno));
  const Descriptor description(::openat(folder.Get(), kDescriptionFile, kFileFlags));
  if (!description) return Object(kDescriptionFile, std::strerror(errno));
  const Descriptor program(::openat(folder.Get(), kProgramFile, kFileFlags));
  if (!program) return Object(kProgramFile, std::strerror(errno));
  if (const char* const objection = Objection(folder.Get())) return Object("it", objection);
  if (const char* const objection = Objection(description.Get())) return Object(kDescriptionFile, objection);
  if (const char* const objection = Objection(program.Get())) return Object(kProgramFile, objection);
  struct stat status {};
  if (::fstat(program.Get(), &status) != 0 || !S_ISREG(status.st_mode))
    return Object(kProgramFile, "is no plain file");
  const std::optional<std::string> text = kinora::base::ReadPlainFile(description.Get(), kDescriptionLimit);
  return text ? ReadDescription(*text) : Object(kDescriptionFile, std::strerror(errno));
}

// Sorted; nothing, with errno, when the folder cannot be read.
std::optional<std::vector<std::string>> NamesIn(int folder) {
  Descriptor readable(::openat(folder, ".", kFolderFlags));
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(readable ? ::fdopendir(readable.Get()) : nullptr,
                                                    ::closedir);
  if (!listing) return std::nullopt;
  static_cast<void>(readable.Release());  // the listing's now
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* const entry = ::readdir(listing.get())) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  if (errno != 0) return std::nullopt;
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

namespace CRVNKinora {

int CRVNVideoLoadPluginFromFolder(const std::string& folder, Json::Value& plugins) {
  const Descriptor opened(::open(folder.c_str(), kFolderFlags));
  const auto names = opened ? NamesIn(opened.Get()) : std::nullopt;
  if (!names) {
    kinora::base::Log(LOG_ERR, kUnit, "cannot read the plug-ins in " + folder + ": " + std::strerror(errno));
    return -1;
  }
  Json::Value found(Json::objectValue);
  for (const std::string& name : *names) {
    Outcome outcome = LookAt(opened.Get(), name);
    const std::string id = outcome.description ? (*outcome.description)["id"].asString() : "";
    if (outcome.description && found.isMember(id)) outcome = Object("its id", "is that of another one");
    if (!outcome.description) {
      kinora::base::Log(LOG_ERR, kUnit,
                        "left out the plug-in " + folder + "/" + name + ": " + outcome.objection);
      continue;
    }
    (*outcome.description)["pluginpath"] = folder + "/" + name;
    found[id] = std::move(*outcome.description);
  }
  plugins = std::move(found);
  return 0;
}

}  // namespace CRVNKinora
