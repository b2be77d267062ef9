#include "tests/http/watching.h"

#include <sys/stat.h>

#include <chrono>
#include <string>

#include "tests/http/house.h"

namespace kinora::test {

namespace fs = std::filesystem;

Watch::Watch(const std::function<void()>& look)
    : thread_([this, look] {
        while (!done_) {
          look();
          std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
      }) {}

Watch::~Watch() {
  done_ = true;
  thread_.join();
}

char StateOf(pid_t process) {
  const std::string line = ReadWhole("/proc/" + std::to_string(process) + "/stat");
  const size_t name = line.rfind(") ");
  return name == std::string::npos ? 'X' : line.at(name + 2);
}

uint64_t DiskUsage(const fs::path& folder) {
  uint64_t bytes = 0;
  std::error_code gone;
  for (fs::recursive_directory_iterator entry(folder, gone), end; !gone && entry != end;
       entry.increment(gone)) {
    struct stat status {};
    if (::lstat(entry->path().c_str(), &status) == 0) bytes += static_cast<uint64_t>(status.st_blocks) * 512;
  }
  return bytes;
}

}  // namespace kinora::test
