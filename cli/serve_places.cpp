#include "cli/serve_places.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "platform/base/atomic_file.h"
#include "platform/media/accounts.h"
#include "platform/media/sessions.h"
#include "platform/media/shares.h"
#include "platform/system/places.h"

namespace kinora::cli {
namespace {

std::string LockFile() { return std::string(system::kRunFolder) + "/serve.lock"; }
std::string FrontFile() { return std::string(system::kRunFolder) + "/front"; }

void CheckProgram(const std::string& path, const std::string& remedy) {
  if (access(path.c_str(), X_OK) == 0) return;
  throw std::runtime_error(path + " is missing or cannot be run; " + remedy);
}

void MakeFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) return;
  throw std::runtime_error("cannot make the folder " + path + ": " + std::strerror(errno));
}

}  // namespace

void CheckPrograms() {
  CheckProgram(kWebServer, "install the package lighttpd");
  CheckProgram(system::InTarget("bin/entry.cgi"), "install Kinora again");
  CheckProgram(system::InTarget("bin/kinora"), "install Kinora again");
  if (access(system::InTarget("share/lighttpd.conf").c_str(), R_OK) != 0) {
    throw std::runtime_error(system::InTarget("share/lighttpd.conf") + " is missing; install Kinora again");
  }
}

void MakeRunFolder() {
  MakeFolder(system::kVar);
  MakeFolder(system::kRunFolder);
  struct stat status {};
  const bool ours =
      lstat(system::kRunFolder, &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
  if (!ours)
    throw std::runtime_error(std::string(system::kRunFolder) + " does not belong to the service's account");
  chmod(system::kRunFolder, 0700);
}

base::Descriptor LockState() {
  base::Descriptor file(open(LockFile().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) throw std::runtime_error("cannot open " + LockFile() + ": " + std::strerror(errno));
  if (flock(file.Get(), LOCK_EX | LOCK_NB) == 0) return file;
  throw std::runtime_error(errno == EWOULDBLOCK ? "Kinora is running already with this state"
                                                : "cannot lock " + LockFile() + ": " + std::strerror(errno));
}

bool IsServing() {
  const base::Descriptor file(open(LockFile().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  return file && flock(file.Get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

void NoteFront(const Front& front) {
  base::WriteFileAtomically(FrontFile(), front.address + " " + std::to_string(front.port) + "\n", 0600);
}

std::optional<Front> RunningFront() {
  if (!IsServing()) return std::nullopt;
  std::ifstream file(FrontFile());
  Front front;
  if (!(file >> front.address >> front.port) || front.port == 0) return std::nullopt;
  return front;
}

bool CanRead(const std::string& folder) {
  DIR* const open = opendir(folder.c_str());
  if (open == nullptr) return false;
  closedir(open);
  return true;
}

void WarnOfUnreadableShares() {
  media::Store store(system::kDatabaseFile);
  for (const media::Share& share : media::Shares(store).All()) {
    if (CanRead(share.path)) continue;
    std::cerr << "kinora: warning: the folder " << share.path
              << " cannot be read by the service's account: " << std::strerror(errno) << "\n";
  }
}

std::string MakeWelcome(const std::string& account, const system::Settings& settings) {
  media::Store store(system::kDatabaseFile);
  const auto found = media::Accounts(store).FindByName(account);
  if (!found) throw std::runtime_error("there is no account " + account);
  return media::Sessions(store, settings.session_days).MakeWelcome(found->id);
}

}  // namespace kinora::cli
