// What a child says on its standard error, for the system log.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kinora::system {

// Cuts bytes into lines without control characters, as UTF-8, and hands each to `write`. Lines longer than
// 400 bytes are cut, empty ones left out; after 40 lines one more says that the rest is dropped.
class LineLog {
 public:
  explicit LineLog(std::function<void(const std::string& line)> write) : write_(std::move(write)) {}

  void Feed(std::string_view bytes);
  void Finish();  // the last line may have no end

 private:
  void EndLine();

  std::function<void(const std::string&)> write_;
  std::string line_;
  int lines_ = 0;
};

}  // namespace kinora::system
