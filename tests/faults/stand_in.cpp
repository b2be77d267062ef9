#include "tests/faults/stand_in.h"

#include <sys/mount.h>

#include <cstdlib>
#include <fstream>

namespace kinora::test {
namespace {

namespace fs = std::filesystem;

fs::path MakeProgram(const std::string& name, const std::string& script) {
  const fs::path file = fs::temp_directory_path() / ("in-place-of-" + name);
  std::ofstream(file) << script;
  fs::permissions(file, fs::perms(0755));
  return file;
}

}  // namespace

StandIn::StandIn(const fs::path& source, fs::path target) : target_(std::move(target)) {
  const char* const places = getenv("KINORA_PLACES");
  if (places == nullptr || std::string(places) == "real") return;
  mounted_ = mount(source.c_str(), target_.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

StandIn::~StandIn() {
  if (mounted_) umount2(target_.c_str(), MNT_DETACH);
}

ProgramStandIn::ProgramStandIn(const std::string& program, const std::string& script)
    : cover_(MakeProgram(fs::path(program).filename(), script), program) {}

ReadOnly::ReadOnly(const fs::path& folder) : cover_(folder, folder) {
  constexpr unsigned long kFlags = MS_BIND | MS_REMOUNT | MS_RDONLY | MS_NOSUID | MS_NODEV;
  read_only_ = cover_ && mount(nullptr, folder.c_str(), nullptr, kFlags, nullptr) == 0;
}

}  // namespace kinora::test
