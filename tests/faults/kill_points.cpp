#include "tests/faults/kill_points.h"

#include <map>

#include "tests/faults/cgi.h"
#include "tests/faults/long_film.h"

namespace kinora::test {

namespace fs = std::filesystem;

namespace {

// Every call that leaves something behind, starts something or changes who this is.
constexpr char kCalls[] =
    "openat,write,pwrite64,sendfile,rename,link,unlink,unlinkat,mkdir,symlink,symlinkat,ftruncate,fchmod,"
    "fsync,"
    "fdatasync,utimensat,flock,clone,clone3,vfork,setresuid,setresgid,capset";
constexpr size_t kUsualKills = 12;  // of one kind of request, spread over its calls

}  // namespace

std::vector<KillPoint> KillPointsOf(const Call& call, const std::string& further) {
  std::map<std::string, int> counts;
  std::vector<KillPoint> points;
  bool own = IsLong();
  for (const std::string& line : CallsMadeBy(call, kCalls + further)) {
    const std::string name = line.substr(0, line.find('('));
    if (name == line) continue;  // how it ended
    own = own || line.find("kinora.conf") != std::string::npos;
    const int number = ++counts[name];
    if (own) points.push_back({name, number});
  }
  if (IsLong() || points.size() <= kUsualKills) return points;
  std::vector<KillPoint> few;
  for (size_t i = 0; i < kUsualKills; ++i) few.push_back(points[i * (points.size() - 1) / (kUsualKills - 1)]);
  return few;
}

void MakeOld(const fs::path& folder) {
  const auto past = fs::file_time_type::clock::now() - std::chrono::hours(24);
  for (const auto& entry : fs::recursive_directory_iterator(folder)) fs::last_write_time(entry.path(), past);
  fs::last_write_time(folder, past);
}

}  // namespace kinora::test
