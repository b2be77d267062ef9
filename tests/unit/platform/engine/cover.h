// Another file, or folder, in the place of one of the machine's or the installation's.
#pragma once

#include <sys/mount.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace kinora::engine {

// Mounted over another file or folder until this object goes. Not where the places are the machine's own.
class Cover {
 public:
  Cover(const std::string& source, const std::string& target) {
    const char* const places = std::getenv("KINORA_PLACES");
    if (places == nullptr || std::string(places) == "real") return;
    target_ = std::filesystem::canonical(target);
    mounted_ = ::mount(source.c_str(), target_.c_str(), nullptr, MS_BIND, nullptr) == 0;
  }
  ~Cover() {
    if (mounted_) ::umount2(target_.c_str(), MNT_DETACH);
  }
  Cover(const Cover&) = delete;
  Cover& operator=(const Cover&) = delete;

  explicit operator bool() const { return mounted_; }

 private:
  std::string target_;
  bool mounted_ = false;
};

}  // namespace kinora::engine
