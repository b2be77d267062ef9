#include "platform/media/scan_progress.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/base/atomic_file.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/system/places.h"
#include "platform/system/strict_json.h"

namespace kinora::media {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(250);
constexpr std::streamsize kLargestFile = std::streamsize{64} * 1024;
constexpr int kDeepest = 4;

constexpr std::pair<const char*, int64_t ScanProgress::*> kNumbers[] = {
    {"found", &ScanProgress::found},           {"looked_at", &ScanProgress::looked_at},
    {"to_look_at", &ScanProgress::to_look_at}, {"added", &ScanProgress::added},
    {"changed", &ScanProgress::changed},       {"moved", &ScanProgress::moved},
    {"removed", &ScanProgress::removed},       {"refused", &ScanProgress::refused},
    {"waiting", &ScanProgress::waiting},
};

std::string LockFile() { return std::string(system::kRunFolder) + "/scan.lock"; }
std::string ProgressFile() { return system::InVar("scan.json"); }

base::Descriptor OpenLock(int flags) {
  return base::Descriptor(::open(LockFile().c_str(), flags | O_NOFOLLOW | O_CLOEXEC, 0600));
}

bool IsLocked() {
  const base::Descriptor file = OpenLock(O_RDONLY);
  // Shared, so that two who ask do not take each other for a scan.
  return file && ::flock(file.Get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::string Write(const ScanProgress& progress) {
  Json::Value json(Json::objectValue);
  json["running"] = progress.running;
  for (const auto& [name, number] : kNumbers) json[name] = Json::Int64{progress.*number};
  json["current"] = base::ToUtf8(progress.current);
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  return Json::writeString(writer, json);
}

ScanProgress Read(const std::string& text) {
  const std::optional<Json::Value> parsed = system::ParseStrictJson(text, kDeepest);
  if (!parsed || !parsed->isObject()) return {};
  const Json::Value& json = *parsed;
  ScanProgress progress;
  for (const auto& [name, number] : kNumbers) {
    if (json[name].isInt64()) progress.*number = json[name].asInt64();
  }
  progress.running = json["running"].isBool() && json["running"].asBool();
  if (json["current"].isString()) progress.current = json["current"].asString();
  return progress;
}

}  // namespace

ScanLock::ScanLock() {
  for (const char* folder : {system::kVar, system::kRunFolder}) ::mkdir(folder, 0700);
  file_ = OpenLock(O_RDWR | O_CREAT);
  int locked = -1;
  while (file_ && (locked = ::flock(file_.Get(), LOCK_EX)) != 0 && errno == EINTR) {
  }
  if (locked != 0) {
    throw LibKinora::db::Failure("cannot lock " + LockFile() + ": " + std::generic_category().message(errno));
  }
  base::RemoveScratchOf(ProgressFile());
}

void ScanReporter::Tell(const ScanProgress& progress) {
  if (std::chrono::steady_clock::now() - last_ >= kInterval) TellLast(progress);
}

void ScanReporter::TellLast(const ScanProgress& progress) {
  last_ = std::chrono::steady_clock::now();
  try {
    base::WriteFileAtomically(ProgressFile(), Write(progress), 0600);
  } catch (const std::system_error& error) {  // a full disk must not end the scan
    if (!std::exchange(complained_, true)) base::Log(LOG_ERR, "media/scan_progress", error.what());
  }
  if (report_) report_(progress);
}

ScanProgress LastProgress() {
  std::ifstream in(ProgressFile(), std::ios::binary);
  std::string text(kLargestFile, '\0');
  in.read(text.data(), kLargestFile);
  text.resize(static_cast<size_t>(in.gcount()));
  ScanProgress progress = Read(text);
  progress.running = progress.running && IsLocked();
  if (!progress.running) progress.current.clear();
  return progress;
}

}  // namespace kinora::media
